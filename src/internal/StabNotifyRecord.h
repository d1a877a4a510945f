#pragma once

#include <stddef.h>
#include <stdint.h>

/**
 * The record that the stability kernel driver takes on /dev/stabd, one in each write. Integers are
 * in the device's byte order; texts end with a NUL inside their field; bytes that a sender does not
 * set are zero.
 */
struct stab_notify_record {
    char process_name[40];
    uint32_t event_type;
    uint32_t reserved1;
    uint64_t flags;
    int32_t pid;
    char detail[60];
    uint64_t reserved2;
    uint32_t kind;
    uint32_t reserved3;
};

static_assert(sizeof(stab_notify_record) == 136);
static_assert(offsetof(stab_notify_record, process_name) == 0);
static_assert(offsetof(stab_notify_record, event_type) == 40);
static_assert(offsetof(stab_notify_record, reserved1) == 44);
static_assert(offsetof(stab_notify_record, flags) == 48);
static_assert(offsetof(stab_notify_record, pid) == 56);
static_assert(offsetof(stab_notify_record, detail) == 60);
static_assert(offsetof(stab_notify_record, reserved2) == 120);
static_assert(offsetof(stab_notify_record, kind) == 128);
static_assert(offsetof(stab_notify_record, reserved3) == 132);
