// Measures one view of the overview page against a program that only writes the same octets.
//
//   bench ROOT PROGRAM            prints what the program answers
//   bench ROOT PROGRAM BASELINE   prints the measurements
//
// The programs are started in ROOT, where PROGRAM and BASELINE are their paths.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 500;
constexpr int kWarmUp = 20;

constexpr double kRatioAim = 1.3;
constexpr long kSizeAim = 1024;    // kB
constexpr long kMemoryAim = 3072;  // kB

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::exit(EXIT_FAILURE);
}

struct Run {
    std::string answer;
    double microseconds = 0;
    long peak_kb = 0;
};

// A page fits into a pipe, so the program never waits for a reader.
std::string drain(int pipe_end) {
    std::string text;
    std::array<char, 65536> block{};
    for (ssize_t got = 0; (got = read(pipe_end, block.data(), block.size())) > 0;)
        text.append(block.data(), static_cast<std::size_t>(got));
    return text;
}

Run view(std::string program) {
    std::array<char*, 2> arguments = {program.data(), nullptr};
    std::array environment = {
        std::string("REQUEST_METHOD=GET"),
        std::string("QUERY_STRING=next_file=nat_base.htm"),
        std::string("PATH=/sbin:/bin:/usr/sbin:/usr/bin"),
    };
    std::array<char*, 4> variables = {environment[0].data(), environment[1].data(),
                                      environment[2].data(), nullptr};
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    if (posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(),
                    variables.data()) != 0)
        fail(program.c_str());
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child) fail("wait4");
    const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;

    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    Run run{drain(ends[0]), took.count(), usage.ru_maxrss};
    close(ends[0]);
    if (status != 0) fail((program + " failed").c_str());
    return run;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void measure(const std::string& program, const std::string& baseline) {
    std::vector<double> ours;
    std::vector<double> least;
    Run ours_last;
    Run least_last;
    for (int round = -kWarmUp; round < kRounds; ++round) {
        ours_last = view(program);
        least_last = view(baseline);
        if (round < 0) continue;
        ours.push_back(ours_last.microseconds);
        least.push_back(least_last.microseconds);
    }
    if (ours_last.answer != least_last.answer) {
        std::fputs("the two programs answer differently\n", stderr);
        std::exit(EXIT_FAILURE);
    }
    struct stat file {};
    if (stat(program.c_str(), &file) != 0) fail(program.c_str());

    const double ratio = median(ours) / median(least);
    std::printf("nat_base.htm, %zu octets, medians of %d views\n\n", ours_last.answer.size(),
                kRounds);
    std::printf("%-24s %9s %9s\n", "", "measured", "aim");
    std::printf("%-24s %6.0f us\n", "a view", median(ours));
    std::printf("%-24s %6.0f us\n", "only writing it", median(least));
    std::printf("%-24s %9.2f %9.2f\n", "ratio", ratio, kRatioAim);
    std::printf("%-24s %6ld kB %6ld kB\n", "size of the program", file.st_size / 1024, kSizeAim);
    std::printf("%-24s %6ld kB %6ld kB\n", "its peak memory", ours_last.peak_kb, kMemoryAim);
    std::printf("%-24s %6ld kB\n", "peak of only writing", least_last.peak_kb);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::fputs("usage: bench ROOT PROGRAM [BASELINE]\n", stderr);
        return 2;
    }
    if (chroot(argv[1]) != 0 || chdir("/www") != 0) fail(argv[1]);
    if (argc == 4) {
        measure(argv[2], argv[3]);
        return EXIT_SUCCESS;
    }
    const std::string page = view(argv[2]).answer;
    std::fwrite(page.data(), 1, page.size(), stdout);
    return page.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
