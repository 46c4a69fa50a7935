// Enters a private root and becomes the program: a tracer outside counts the program's own calls.
#include <unistd.h>

int main(int count, char** words) {
    if (count < 3 || chroot(words[1]) != 0 || chdir("/www") != 0) return 125;
    execv(words[2], words + 2);
    return 126;
}
