/*
 * Faults for tests, as module parameters that may be written at any time. A write takes them in
 * this order: interruptions, the delay, the error, the short count.
 */
#include <linux/errno.h>
#include <linux/jiffies.h>
#include <linux/module.h>

#include "stabd.h"
#include "stabd_node.h"

static unsigned int open_errno;
module_param_cb(open_errno, &stabd_errno_ops, &open_errno, 0644);
MODULE_PARM_DESC(open_errno, "error of every open of /dev/stabd; 0: none");

static unsigned int write_errno;
module_param_cb(write_errno, &stabd_errno_ops, &write_errno, 0644);
MODULE_PARM_DESC(write_errno, "error of every write; 0: none");

static atomic_t write_eintr = ATOMIC_INIT(0);
module_param_cb(write_eintr, &stabd_count_ops, &write_eintr, 0644);
MODULE_PARM_DESC(write_eintr, "how many further writes fail with EINTR");

static unsigned int write_delay_ms;
module_param(write_delay_ms, uint, 0644);
MODULE_PARM_DESC(write_delay_ms, "how long every write waits, in ms; a signal interrupts it");

static int write_count = -1;
module_param(write_count, int, 0644);
MODULE_PARM_DESC(write_count,
		 "bytes that every write says to have taken, and drops; negative: takes all");

/* 0 after the delay, else the error that ended it. */
static ssize_t delay_write(void)
{
	const unsigned int delay_ms = READ_ONCE(write_delay_ms);
	long left = 0;

	if (delay_ms)
		left = wait_event_interruptible_timeout(stabd_node_queue, stabd_node_is_leaving(),
							msecs_to_jiffies(delay_ms));
	return left > 0 ? -ENODEV : left;
}

int stabd_fault_of_open(void)
{
	return -(int)READ_ONCE(open_errno);
}

bool stabd_fault_of_write(size_t size, ssize_t *result)
{
	*result = atomic_dec_if_positive(&write_eintr) >= 0 ? -EINTR : delay_write();
	if (!*result)
		*result = -(ssize_t)READ_ONCE(write_errno);
	if (*result)
		return true;
	*result = READ_ONCE(write_count);
	if (*result > (ssize_t)size)
		*result = size;
	return *result >= 0;
}
