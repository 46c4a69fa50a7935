/* The least that a program can do for a request: replace each changed file once, start each command
 * without a shell, write the answer. plan.h says which; it is made of what the real program was
 * seen to do.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stddef.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

struct file {
    const char *folder, *temporary, *path, *text;
    size_t size;
    mode_t mode;
};

#include "plan.h"

static int replace(const struct file* file) {
    const int fd = open(file->temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, file->mode);
    if (write(fd, file->text, file->size) != (ssize_t)file->size || fsync(fd) != 0 ||
        close(fd) != 0)
        return -1;
    if (rename(file->temporary, file->path) != 0) return -1;
    const int folder = open(file->folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return fsync(folder) != 0 || close(folder) != 0 ? -1 : 0;
}

static int run(const char* const* words) {
    posix_spawn_file_actions_t silence;
    pid_t child;
    int status;
    posix_spawn_file_actions_init(&silence);
    posix_spawn_file_actions_addopen(&silence, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&silence, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const int failed =
        posix_spawn(&child, words[0], &silence, NULL, (char* const*)words, environ) != 0 ||
        waitpid(child, &status, 0) != child;
    posix_spawn_file_actions_destroy(&silence);
    return failed;
}

int main(void) {
    for (const struct file* file = files; file->path; ++file)
        if (replace(file) != 0) return perror(file->path), 1;
    if (syncs) sync(); /* as every save does before its commands */
    for (const char* const(*command)[most_words] = commands; (*command)[0]; ++command)
        if (run(*command) != 0) return perror((*command)[0]), 1;
    return write(STDOUT_FILENO, answer, sizeof answer - 1) != sizeof answer - 1;
}
