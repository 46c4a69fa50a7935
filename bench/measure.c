/* Runs a command in another root folder and prints its wall time and peak memory.
 *
 *   measure ROOT COMMAND [ARGUMENT...]
 *
 * Standard input, output and the environment are the command's; "milliseconds kB" goes to
 * descriptor 3.
 */
#define _GNU_SOURCE
#include <spawn.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec * 1e3 + (double)t.tv_nsec / 1e6;
}

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    if (chroot(argv[1]) != 0 || chdir("/") != 0) return perror(argv[1]), 1;
    pid_t child;
    int status;
    struct rusage usage;
    const double start = now();
    if (posix_spawnp(&child, argv[2], NULL, NULL, argv + 2, environ) != 0 ||
        wait4(child, &status, 0, &usage) != child || status != 0)
        return fprintf(stderr, "%s failed\n", argv[2]), 1;
    dprintf(3, "%.1f %ld\n", now() - start, usage.ru_maxrss);
    return 0;
}
