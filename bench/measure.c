/* Runs a program in a private root and prints what it took.
 *
 *   measure ROOT PROGRAM [ARGUMENT...]
 *
 * Standard input, output and the environment are the program's, its folder is /www. Behind its
 * standard error goes "wall cpu peak faults": microseconds, those of the processor with all
 * commands that the program has waited for, kB, and page faults.
 */
#define _GNU_SOURCE
#include <spawn.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

static long now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1000000 + t.tv_nsec / 1000;
}

static long microseconds(struct timeval t) { return t.tv_sec * 1000000 + t.tv_usec; }

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    if (chroot(argv[1]) != 0 || chdir("/www") != 0) return perror(argv[1]), 1;
    pid_t child;
    int status;
    struct rusage usage;
    const long start = now();
    if (posix_spawn(&child, argv[2], NULL, NULL, argv + 2, environ) != 0 ||
        wait4(child, &status, 0, &usage) != child || status != 0)
        return fprintf(stderr, "%s failed\n", argv[2]), 1;
    const long wall = now() - start;
    const long cpu = microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
    dprintf(STDERR_FILENO, "%ld %ld %ld %ld\n", wall, cpu, usage.ru_maxrss,
            usage.ru_minflt + usage.ru_majflt);
    return 0;
}
