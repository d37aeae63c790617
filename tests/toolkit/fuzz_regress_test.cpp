// Replays the fuzzer's path over the inputs it once crashed on, and over the
// test certificates, which must pass through every reader and leave nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "exercise.hpp"
#include "fixtures.hpp"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path &dir, const std::string &extension = "")
{
    std::vector<fs::path> files;
    if (!fs::is_directory(dir))
        return files;
    for (const auto &entry : fs::directory_iterator(dir))
        if (entry.is_regular_file() && (extension.empty() || entry.path().extension() == extension))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const fs::path &file)
{
    const auto bytes = pkiui::test::readFile(file);
    const long before = tavik_debug_live_objects();
    pkiui::fuzz::Exercise exercise;
    EXPECT_TRUE(exercise.run(bytes.data(), bytes.size())) << file << ": " << exercise.what();
    EXPECT_EQ(tavik_debug_live_objects(), before) << file;
}

// The folder holds one small file per crashing input; none so far.
TEST(FuzzRegressions, EveryInputTheFuzzerFoundRunsCleanly)
{
    for (const fs::path &file : filesIn(PKIUI_FUZZ_REGRESS))
        replay(file);
}

TEST(FuzzRegressions, EveryTestCertificateRunsCleanly)
{
    for (const char *extension : {".der", ".pem"}) {
        const auto files = filesIn(PKIUI_FIXTURES, extension);
        ASSERT_FALSE(files.empty()) << extension;
        for (const fs::path &file : files)
            replay(file);
    }
}

} // namespace
