/*
 * The stability driver of the virtual device: takes records of 136 bytes and keeps them in a ring
 * until they are read, one at a time. A writer waits while the ring is full.
 */
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/uaccess.h>

#include "stabd.h"
#include "stabd_node.h"

#define RING_RECORDS 512

static DEFINE_MUTEX(ring_lock); /* Guards the ring. */
static u8 ring[RING_RECORDS][STABD_RECORD_BYTES];
static unsigned int first;
static unsigned int filled;

static atomic_t opens = ATOMIC_INIT(0);
static atomic_t writes = ATOMIC_INIT(0);
static atomic_t closes = ATOMIC_INIT(0);
module_param_cb(opens, &stabd_count_ops, &opens, 0644);
module_param_cb(writes, &stabd_count_ops, &writes, 0644);
module_param_cb(closes, &stabd_count_ops, &closes, 0644);
MODULE_PARM_DESC(opens, "opens of /dev/stabd, those that failed too");
MODULE_PARM_DESC(writes, "writes to /dev/stabd, those that failed too");
MODULE_PARM_DESC(closes, "ends of the opens of /dev/stabd that succeeded");

static bool is_readable(void)
{
	return READ_ONCE(filled) > 0;
}

static bool is_writable(void)
{
	return READ_ONCE(filled) < RING_RECORDS;
}

static bool put(const u8 *record)
{
	bool fits;

	mutex_lock(&ring_lock);
	fits = is_writable();
	if (fits) {
		memcpy(ring[(first + filled) % RING_RECORDS], record, STABD_RECORD_BYTES);
		WRITE_ONCE(filled, filled + 1);
	}
	mutex_unlock(&ring_lock);
	return fits;
}

/* How many bytes of a record were taken, 0 when there is none, or an error: then it stays. */
static ssize_t take(char __user *buffer)
{
	ssize_t result = 0;

	mutex_lock(&ring_lock);
	if (is_readable())
		result = copy_to_user(buffer, ring[first], STABD_RECORD_BYTES) ? -EFAULT
									       : STABD_RECORD_BYTES;
	if (result > 0) {
		first = (first + 1) % RING_RECORDS;
		WRITE_ONCE(filled, filled - 1);
	}
	mutex_unlock(&ring_lock);
	return result;
}

/* Waits for the ring as the file allows it; 0 when it may be ready. */
static int await(const struct file *file, bool (*is_ready)(void))
{
	int error;

	if (file->f_flags & O_NONBLOCK)
		return -EAGAIN;
	error = wait_event_interruptible(stabd_node_queue, is_ready() || stabd_node_is_leaving());
	if (error)
		return error;
	return stabd_node_is_leaving() ? -ENODEV : 0;
}

static int on_open(void)
{
	atomic_inc(&opens);
	return stabd_fault_of_open();
}

static void on_release(void)
{
	atomic_inc(&closes);
}

static ssize_t on_write(struct file *file, const char __user *buffer, size_t size)
{
	u8 record[STABD_RECORD_BYTES];
	ssize_t result;
	int error;

	atomic_inc(&writes);
	if (stabd_fault_of_write(size, &result))
		return result;
	if (size != sizeof(record))
		return -EINVAL;
	if (copy_from_user(record, buffer, sizeof(record)))
		return -EFAULT;
	while (!put(record)) {
		error = await(file, is_writable);
		if (error)
			return error;
	}
	wake_up_all(&stabd_node_queue);
	return sizeof(record);
}

static ssize_t on_read(struct file *file, char __user *buffer, size_t size)
{
	ssize_t taken;
	int error;

	if (size < STABD_RECORD_BYTES)
		return -EINVAL;
	while ((taken = take(buffer)) == 0) {
		error = await(file, is_readable);
		if (error)
			return error;
	}
	wake_up_all(&stabd_node_queue);
	return taken;
}

static __poll_t ready(void)
{
	return (is_readable() ? EPOLLIN | EPOLLRDNORM : 0) |
	       (is_writable() ? EPOLLOUT | EPOLLWRNORM : 0);
}

static const struct stabd_driver driver = {
	.open = on_open,
	.release = on_release,
	.write = on_write,
	.read = on_read,
	.ready = ready,
};

static int __init stabd_init(void)
{
	int error = stabd_add_switches();

	if (error)
		return error;
	error = stabd_node_bind(&driver);
	if (error)
		stabd_remove_switches();
	return error;
}

static void __exit stabd_exit(void)
{
	stabd_node_unbind();
	stabd_remove_switches();
}

module_init(stabd_init);
module_exit(stabd_exit);
MODULE_DESCRIPTION("Stability driver of the virtual device");
MODULE_LICENSE("Proprietary"); /* None has been granted; the kernel wants the tag. */
