/* The least that a program can do for a request: replace each changed file once, start each command
 * without a shell, read what those say that are asked, write the answer. plan.h says which; it is
 * made of what the real program was seen to do.
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

struct command {
    int asked;
    const char* words[16];
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

static int run(const struct command* command) {
    posix_spawn_file_actions_t files;
    char* const* words = (char* const*)command->words;
    char said[4096];
    int ends[2];
    pid_t child;
    int status;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (!command->asked)
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    else if (pipe2(ends, O_CLOEXEC) == 0)
        posix_spawn_file_actions_adddup2(&files, ends[1], STDOUT_FILENO);
    else
        return -1;
    if (posix_spawn(&child, words[0], &files, NULL, words, environ) != 0) return -1;
    posix_spawn_file_actions_destroy(&files);
    if (command->asked) {
        close(ends[1]);
        while (read(ends[0], said, sizeof said) > 0) continue;
        close(ends[0]);
    }
    return waitpid(child, &status, 0) == child ? 0 : -1;
}

int main(void) {
    for (const struct file* file = files; file->path; ++file)
        if (replace(file) != 0) return perror(file->path), 1;
    for (int i = 0; i < syncs; ++i) sync(); /* as every save does before its commands */
    for (const struct command* command = commands; command->words[0]; ++command)
        if (run(command) != 0) return perror(command->words[0]), 1;
    return write(STDOUT_FILENO, answer, sizeof answer - 1) != sizeof answer - 1;
}
