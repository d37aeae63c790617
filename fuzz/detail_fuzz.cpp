// libFuzzer entry: bytes in, detail rows out, nothing left behind.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "detail_exercise.hpp"
#include "tavik_debug.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    {
        pkiui::fuzz::DetailExercise exercise;
        if (!exercise.run(data, size)) {
            std::fprintf(stderr, "detail invariant broken: %s\n", exercise.what());
            std::abort();
        }
    }
    if (const long live = tavik_debug_live_objects(); live != 0) {
        std::fprintf(stderr, "toolkit objects left behind: %ld\n", live);
        std::abort();
    }
    return 0;
}
