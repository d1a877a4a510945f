/*
 * Reports from C that system_server or zygote was killed:
 *
 *     system_killed CAUSE PID
 *
 * What the six causes do is told in <wardline/StabNotify.h>.
 */

#include <stdio.h>
#include <stdlib.h>
#include <wardline/StabNotify.h>

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: system_killed CAUSE PID\n");
        return 2;
    }
    notify_stab_system_killed(atoi(argv[1]), atoi(argv[2]));
    return 0;
}
