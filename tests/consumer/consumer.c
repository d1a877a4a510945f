/* Calls every notification from C. The cast-free pointers pin the argument types. */

#include <wardline/StabNotify.h>

void (*const notify_ne)(const char*, int, int, int, const char*) = notify_stab_ne;
void (*const notify_killed)(int, int) = notify_stab_system_killed;
void (*const notify_finish)(int) = notify_extra_log_finish;
void (*const notify_logo)(int, int) = notify_stab_block_logo;

int main(void) {
    notify_ne("consumer", 1, 11, 1, "");
    notify_killed(6, 1);
    notify_finish(1);
    notify_logo(1, 2);
    return 0;
}
