// pkiui-dump over the system's bundle of Mozilla roots, whole process,
// against openssl printing the same file.
#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

extern char **environ;

namespace {

constexpr const char *kBundle = "/etc/ssl/certs/ca-certificates.crt";

// Runs argv with its output thrown away; false when it cannot run or fails.
bool run(std::vector<std::string> args)
{
    std::vector<char *> argv;
    for (auto &arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return rc == 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

void Process(benchmark::State &state, std::vector<std::string> args)
{
    if (access(kBundle, R_OK) != 0 || !run(args))
        return state.SkipWithError("cannot run on the bundle");
    for (auto _ : state)
        run(args);
}

BENCHMARK_CAPTURE(Process, pkiui_dump_json, {PKIUI_DUMP, "--json", kBundle})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Process, openssl_storeutl_text,
                  {"openssl", "storeutl", "-noout", "-text", "-certs", kBundle})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
