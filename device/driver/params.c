#include <linux/errno.h>
#include <linux/module.h>

#include "stabd.h"

static int set_errno(const char *text, const struct kernel_param *param)
{
	unsigned int number;
	const int error = kstrtouint(text, 0, &number);

	if (error)
		return error;
	if (number > EHWPOISON) /* The last one that programs know. */
		return -ERANGE;
	WRITE_ONCE(*(unsigned int *)param->arg, number);
	return 0;
}

const struct kernel_param_ops stabd_errno_ops = {
	.set = set_errno,
	.get = param_get_uint,
};

static int set_count(const char *text, const struct kernel_param *param)
{
	unsigned int count;
	const int error = kstrtouint(text, 0, &count);

	if (error)
		return error;
	if (count > INT_MAX)
		return -ERANGE;
	atomic_set(param->arg, count);
	return 0;
}

static int get_count(char *text, const struct kernel_param *param)
{
	return scnprintf(text, PAGE_SIZE, "%d\n", atomic_read(param->arg));
}

const struct kernel_param_ops stabd_count_ops = {
	.set = set_count,
	.get = get_count,
};
