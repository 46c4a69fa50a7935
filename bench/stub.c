/* A command of the appliance that answers and does nothing, without the start of the C library: its
 * own time does not hide that of who starts it. GATE: a pipe, for whose writer it waits.
 */
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

void _start(void) {
#ifdef GATE
    syscall(SYS_open, GATE, O_RDONLY);
#endif
    syscall(SYS_write, STDOUT_FILENO, ANSWER, sizeof ANSWER - 1);
    syscall(SYS_exit_group, 0);
}
