// Replays the detail fuzzer's path over the inputs it once crashed on and over
// the test certificates: every row readable, nothing left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "detail_exercise.hpp"
#include "fixtures.hpp"

namespace {

namespace fs = std::filesystem;

TEST(DetailFuzzRegressions, EveryKnownInputRunsCleanly)
{
    std::vector<fs::path> files;
    for (const char *dir : {PKIUI_DETAIL_REGRESS, PKIUI_FIXTURES})
        if (fs::is_directory(dir))
            for (const auto &entry : fs::directory_iterator(dir))
                if (entry.is_regular_file() && entry.path().extension() != ".key")
                    files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());
    for (const fs::path &file : files) {
        const auto bytes = pkiui::test::readFile(file);
        const long before = tavik_debug_live_objects();
        {
            pkiui::fuzz::DetailExercise exercise;
            EXPECT_TRUE(exercise.run(bytes.data(), bytes.size()))
                << file << ": " << exercise.what();
        }
        EXPECT_EQ(tavik_debug_live_objects(), before) << file;
    }
}

} // namespace
