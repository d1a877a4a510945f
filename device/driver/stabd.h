/* What the parts of the driver call of each other. */
#ifndef STABD_H
#define STABD_H

#include <linux/moduleparam.h>
#include <linux/types.h>

#define STABD_RECORD_BYTES 136

/*
 * faults.c: the error of an open, or 0; what a write is to answer in place of its work, when it is
 * true that there is something.
 */
int stabd_fault_of_open(void);
bool stabd_fault_of_write(size_t size, ssize_t *result);

/* switches.c: kernel.coredump_trim_flag and kernel.coredump_disable. */
int stabd_add_switches(void);
void stabd_remove_switches(void);

/*
 * params.c: kinds of module parameters. An errno is an unsigned int, the number of an error or 0
 * for none. A count is an atomic_t, not negative.
 */
extern const struct kernel_param_ops stabd_errno_ops;
extern const struct kernel_param_ops stabd_count_ops;

#endif
