// Gives every test program a home of its own, so that no test reads or writes the real one.

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    std::string home = (std::filesystem::temp_directory_path() / "fenlo-test-XXXXXX").string();
    if (!::mkdtemp(home.data()))
        return 1;
    const std::string temporary = home + "/tmp";
    std::filesystem::create_directories(temporary);
    ::setenv("HOME", home.c_str(), 1);
    ::setenv("TMPDIR", temporary.c_str(), 1);
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "GROQ_API_KEY", "DEEPGRAM_API_KEY",
                             "XAI_API_KEY", "GEMINI_API_KEY", "FENLO_DEPLOYMENT"})
        ::unsetenv(name);
    const int result = RUN_ALL_TESTS();
    std::error_code ignored;
    std::filesystem::remove_all(home, ignored);
    return result;
}
