/*
 * The device nodes of the stability driver: /dev/stabd, to which records are written, and
 * /dev/stabd_records, from which they are read. Open files may outlive the driver, which is a
 * module of its own for that: once it has gone, they answer ENODEV, also when it comes back.
 */
#ifndef STABD_NODE_H
#define STABD_NODE_H

#include <linux/fs.h>
#include <linux/poll.h>
#include <linux/wait.h>

struct stabd_driver {
	/* An open of /dev/stabd and its end. */
	int (*open)(void);
	void (*release)(void);
	/* A write to /dev/stabd. */
	ssize_t (*write)(struct file *file, const char __user *buffer, size_t size);
	/* A read from /dev/stabd_records. */
	ssize_t (*read)(struct file *file, char __user *buffer, size_t size);
	/* What would not have to wait, as poll tells it. */
	__poll_t (*ready)(void);
};

/* Wakes whoever waits inside the driver, and whoever polls a node. */
extern wait_queue_head_t stabd_node_queue;

/* Makes the nodes appear. The driver stays in use until stabd_node_unbind(). */
int stabd_node_bind(const struct stabd_driver *driver);

/* Makes the nodes vanish, and waits until no call is inside the driver any more. */
void stabd_node_unbind(void);

/* True from the moment at which calls inside the driver have to leave it. */
bool stabd_node_is_leaving(void);

#endif
