// libFuzzer entry: every input goes through every reader of the toolkit, and
// nothing it made may outlive it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "exercise.hpp"
#include "tavik_debug.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    pkiui::fuzz::Exercise exercise;
    if (!exercise.run(data, size)) {
        std::fprintf(stderr, "toolkit invariant broken: %s\n", exercise.what());
        std::abort();
    }
    if (const long live = tavik_debug_live_objects(); live != 0) {
        std::fprintf(stderr, "toolkit objects left behind: %ld\n", live);
        std::abort();
    }
    return 0;
}
