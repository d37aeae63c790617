// Replays both fuzzers' paths over the inputs they once crashed on and over
// the test certificates: every reader and every row runs cleanly and leaves
// no toolkit object behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <vector>

#include "detail_exercise.hpp"
#include "exercise.hpp"
#include "fixtures.hpp"

namespace {

namespace fs = std::filesystem;

template <class Exercise> void replay(std::initializer_list<const char *> dirs)
{
    std::vector<fs::path> files;
    for (const char *dir : dirs)
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
            Exercise exercise;
            EXPECT_TRUE(exercise.run(bytes.data(), bytes.size()))
                << file << ": " << exercise.what();
        }
        EXPECT_EQ(tavik_debug_live_objects(), before) << file;
    }
}

TEST(FuzzRegressions, ToolkitReadersRunCleanlyOnEveryKnownInput)
{
    replay<pkiui::fuzz::Exercise>({PKIUI_FUZZ_REGRESS, PKIUI_FIXTURES});
}

TEST(FuzzRegressions, DetailRowsRunCleanlyOnEveryKnownInput)
{
    replay<pkiui::fuzz::DetailExercise>({PKIUI_DETAIL_REGRESS, PKIUI_FIXTURES});
}

} // namespace
