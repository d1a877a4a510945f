#include "stabd_node.h"

#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/rwsem.h>

/* Held for reading by each call into the driver; guards all that follows. */
static DECLARE_RWSEM(gate);
static const struct stabd_driver *bound;
static bool leaving;

/* Tells the files that were opened under this driver from those of an earlier one. */
static unsigned long generation;

DECLARE_WAIT_QUEUE_HEAD(stabd_node_queue);
EXPORT_SYMBOL(stabd_node_queue);

/* Enters the driver that a file was opened under; NULL when that has gone. leave() in any case. */
static const struct stabd_driver *enter(const struct file *file)
{
	down_read(&gate);
	return (unsigned long)file->private_data == generation ? bound : NULL;
}

static void leave(void)
{
	up_read(&gate);
}

static void remember_driver(struct file *file)
{
	down_read(&gate);
	file->private_data = (void *)generation;
	up_read(&gate);
}

static int node_open(struct inode *inode, struct file *file)
{
	const struct stabd_driver *driver;
	int result;

	remember_driver(file);
	driver = enter(file);
	result = driver ? driver->open() : -ENODEV;
	leave();
	return result;
}

static int node_release(struct inode *inode, struct file *file)
{
	const struct stabd_driver *driver = enter(file);

	if (driver)
		driver->release();
	leave();
	return 0;
}

static ssize_t node_write(struct file *file, const char __user *buffer, size_t size, loff_t *pos)
{
	const struct stabd_driver *driver = enter(file);
	const ssize_t result = driver ? driver->write(file, buffer, size) : -ENODEV;

	leave();
	return result;
}

static int records_open(struct inode *inode, struct file *file)
{
	remember_driver(file);
	return 0;
}

static ssize_t records_read(struct file *file, char __user *buffer, size_t size, loff_t *pos)
{
	const struct stabd_driver *driver = enter(file);
	const ssize_t result = driver ? driver->read(file, buffer, size) : -ENODEV;

	leave();
	return result;
}

static __poll_t poll_for(struct file *file, struct poll_table_struct *table, __poll_t wanted)
{
	const struct stabd_driver *driver;
	__poll_t ready = EPOLLHUP | EPOLLERR;

	poll_wait(file, &stabd_node_queue, table);
	driver = enter(file);
	if (driver)
		ready = driver->ready() & wanted;
	leave();
	return ready;
}

static __poll_t node_poll(struct file *file, struct poll_table_struct *table)
{
	return poll_for(file, table, EPOLLOUT | EPOLLWRNORM);
}

static __poll_t records_poll(struct file *file, struct poll_table_struct *table)
{
	return poll_for(file, table, EPOLLIN | EPOLLRDNORM);
}

static const struct file_operations node_operations = {
	.owner = THIS_MODULE,
	.open = node_open,
	.release = node_release,
	.write = node_write,
	.poll = node_poll,
	.llseek = noop_llseek,
};

static const struct file_operations records_operations = {
	.owner = THIS_MODULE,
	.open = records_open,
	.read = records_read,
	.poll = records_poll,
	.llseek = noop_llseek,
};

static struct miscdevice node = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "stabd",
	.fops = &node_operations,
	.mode = 0666,
};

static struct miscdevice records = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "stabd_records",
	.fops = &records_operations,
	.mode = 0666,
};

static void let_in(const struct stabd_driver *driver)
{
	down_write(&gate);
	bound = driver;
	leaving = false;
	generation++;
	up_write(&gate);
}

static void send_out(void)
{
	WRITE_ONCE(leaving, true);
	wake_up_all(&stabd_node_queue);
	down_write(&gate);
	bound = NULL;
	up_write(&gate);
	wake_up_all(&stabd_node_queue); /* Those who poll. */
}

int stabd_node_bind(const struct stabd_driver *driver)
{
	int error;

	let_in(driver);
	error = misc_register(&records);
	if (error)
		goto no_records;
	error = misc_register(&node);
	if (error)
		goto no_node;
	return 0;

no_node:
	misc_deregister(&records);
no_records:
	send_out();
	return error;
}
EXPORT_SYMBOL(stabd_node_bind);

void stabd_node_unbind(void)
{
	misc_deregister(&node);
	misc_deregister(&records);
	send_out();
}
EXPORT_SYMBOL(stabd_node_unbind);

bool stabd_node_is_leaving(void)
{
	return READ_ONCE(leaving);
}
EXPORT_SYMBOL(stabd_node_is_leaving);

MODULE_DESCRIPTION("Device nodes of the virtual device's stability driver");
MODULE_LICENSE("Proprietary"); /* None has been granted; the kernel wants the tag. */
