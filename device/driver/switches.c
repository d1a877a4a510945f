/*
 * The kernel's core dump switches, as sysctls. The module parameters of each make it fail for
 * tests, or leave it out, and count what was done with it.
 */
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/sysctl.h>

#include "stabd.h"

struct stabd_switch {
	int value;
	unsigned int mode; /* 0: left out. */
	unsigned int read_errno;
	unsigned int write_errno;
	atomic_t reads;
	atomic_t writes;
	struct ctl_table table[2];
	struct ctl_table_header *header; /* NULL: not there. */
};

static DEFINE_MUTEX(switches_lock); /* Guards the modes and the headers. */
static bool added;

static int access_switch(struct ctl_table *table, int is_write, void *buffer, size_t *size,
			 loff_t *position)
{
	struct stabd_switch *const accessed = container_of(table, struct stabd_switch, table[0]);
	const unsigned int error =
		is_write ? READ_ONCE(accessed->write_errno) : READ_ONCE(accessed->read_errno);

	if (!*position) /* What follows is the rest of the same access. */
		atomic_inc(is_write ? &accessed->writes : &accessed->reads);
	if (error)
		return -(int)error;
	return proc_dointvec(table, is_write, buffer, size, position);
}

#define STABD_SWITCH(name)                                                                         \
	{                                                                                          \
		.mode = 0644, .table = {                                                           \
			{                                                                          \
				.procname = name,                                                  \
				.maxlen = sizeof(int),                                             \
				.proc_handler = access_switch,                                     \
			},                                                                         \
			{}                                                                         \
		}                                                                                  \
	}

static struct stabd_switch trim_flag = STABD_SWITCH("coredump_trim_flag");
static struct stabd_switch disable = STABD_SWITCH("coredump_disable");

static void remove_switch(struct stabd_switch *removed)
{
	if (removed->header)
		unregister_sysctl_table(removed->header);
	removed->header = NULL;
}

static int add_switch(struct stabd_switch *new)
{
	if (!new->mode)
		return 0;
	new->table[0].data = &new->value;
	new->table[0].mode = new->mode;
	new->header = register_sysctl("kernel", new->table);
	return new->header ? 0 : -ENOMEM;
}

/* Takes effect at once, also for files that are open: they fail. */
static int set_mode(const char *text, const struct kernel_param *param)
{
	struct stabd_switch *const changed = param->arg;
	unsigned int mode;
	int error = kstrtouint(text, 8, &mode);

	if (error)
		return error;
	if (mode & ~0666)
		return -EINVAL;
	mutex_lock(&switches_lock);
	remove_switch(changed);
	changed->mode = mode;
	if (added)
		error = add_switch(changed);
	mutex_unlock(&switches_lock);
	return error;
}

static int get_mode(char *text, const struct kernel_param *param)
{
	const struct stabd_switch *const shown = param->arg;

	return scnprintf(text, PAGE_SIZE, "%04o\n", READ_ONCE(shown->mode));
}

static const struct kernel_param_ops mode_ops = {
	.set = set_mode,
	.get = get_mode,
};

#define STABD_SWITCH_PARAMS(name)                                                                  \
	module_param_cb(name##_mode, &mode_ops, &name, 0644);                                      \
	MODULE_PARM_DESC(name##_mode, "access mode, octal; 0: left out");                          \
	module_param_cb(name##_read_errno, &stabd_errno_ops, &name.read_errno, 0644);              \
	MODULE_PARM_DESC(name##_read_errno, "error of every read; 0: none");                       \
	module_param_cb(name##_write_errno, &stabd_errno_ops, &name.write_errno, 0644);            \
	MODULE_PARM_DESC(name##_write_errno, "error of every write; 0: none");                     \
	module_param_cb(name##_reads, &stabd_count_ops, &name.reads, 0644);                        \
	MODULE_PARM_DESC(name##_reads, "reads, those that failed too");                            \
	module_param_cb(name##_writes, &stabd_count_ops, &name.writes, 0644);                      \
	MODULE_PARM_DESC(name##_writes, "writes, those that failed too")

STABD_SWITCH_PARAMS(trim_flag);
STABD_SWITCH_PARAMS(disable);

void stabd_remove_switches(void)
{
	mutex_lock(&switches_lock);
	added = false;
	remove_switch(&trim_flag);
	remove_switch(&disable);
	mutex_unlock(&switches_lock);
}

int stabd_add_switches(void)
{
	int error;

	mutex_lock(&switches_lock);
	added = true;
	error = add_switch(&trim_flag);
	if (!error)
		error = add_switch(&disable);
	mutex_unlock(&switches_lock);
	if (error)
		stabd_remove_switches();
	return error;
}
