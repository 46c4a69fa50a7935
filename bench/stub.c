/* A command of the appliance that answers and does nothing, without the start of the C library: its
 * own time does not hide that of who starts it.
 */
#include <sys/syscall.h>
#include <unistd.h>

void _start(void) {
    syscall(SYS_write, STDOUT_FILENO, ANSWER, sizeof ANSWER - 1);
    syscall(SYS_exit_group, 0);
}
