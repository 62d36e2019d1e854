#include "qrmcoreutils/QRMCoreUtils.h"
#include "support/TestFiles.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace QRMCoreUtils {
namespace {

namespace fs = std::filesystem;

/// A directory of the test's own, and the environment as it was behind it.
class FileUtilsTest : public testing::Test {
protected:
    ~FileUtilsTest() override {
        restore("XDG_CONFIG_HOME", xdgBefore);
        restore("HOME", homeBefore);
    }

    static mode_t modeOf(const fs::path& path) {
        struct stat status {};
        EXPECT_EQ(0, ::stat(path.c_str(), &status));
        return status.st_mode & 07777U;
    }

    const zeb::test::TestFolder folder;
    const fs::path root = folder.path();

private:
    static std::optional<std::string> valueOf(const char* name) {
        const char* const value = std::getenv(name);
        return value == nullptr ? std::nullopt : std::optional<std::string>(value);
    }
    static void restore(const char* name, const std::optional<std::string>& value) {
        if (value) {
            ::setenv(name, value->c_str(), 1);
        } else {
            ::unsetenv(name);
        }
    }

    const std::optional<std::string> xdgBefore = valueOf("XDG_CONFIG_HOME");
    const std::optional<std::string> homeBefore = valueOf("HOME");
};

TEST_F(FileUtilsTest, TheConfigDirectoryIsInXdgConfigHome) {
    ::setenv("XDG_CONFIG_HOME", root.c_str(), 1);
    ::setenv("HOME", "/nowhere", 1);
    EXPECT_EQ((root / "zebnetutils").string(), FileUtils::getConfigDirectory());
    EXPECT_TRUE(fs::is_directory(root / "zebnetutils"));
}

TEST_F(FileUtilsTest, ASeparatorAtTheEndOfXdgConfigHomeIsNotDoubled) {
    ::setenv("XDG_CONFIG_HOME", (root.string() + "/").c_str(), 1);
    EXPECT_EQ((root / "zebnetutils").string(), FileUtils::getConfigDirectory());
}

TEST_F(FileUtilsTest, ARelativeXdgConfigHomeIsPassedOver) {
    ::setenv("XDG_CONFIG_HOME", "relative/config", 1);
    ::setenv("HOME", root.c_str(), 1);
    EXPECT_EQ((root / ".config" / "zebnetutils").string(), FileUtils::getConfigDirectory());
}

TEST_F(FileUtilsTest, AnEmptyXdgConfigHomeIsPassedOver) {
    ::setenv("XDG_CONFIG_HOME", "", 1);
    ::setenv("HOME", root.c_str(), 1);
    EXPECT_EQ((root / ".config" / "zebnetutils").string(), FileUtils::getConfigDirectory());
}

TEST_F(FileUtilsTest, WithoutHomeItIsInTheHomeDirectoryOfTheUser) {
    const passwd* const user = ::getpwuid(::getuid());
    const fs::path expected = user == nullptr ? fs::path() : fs::path(user->pw_dir) / ".config/zebnetutils";
    if (!fs::is_directory(expected)) {
        GTEST_SKIP() << "would make a directory in the user's home";
    }
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("HOME");
    EXPECT_EQ(expected.string(), FileUtils::getConfigDirectory());
}

TEST_F(FileUtilsTest, EveryLevelThatIsMadeIsPrivate) {
    const mode_t maskBefore = ::umask(0);
    ::unsetenv("XDG_CONFIG_HOME");
    ::setenv("HOME", (root / "new").c_str(), 1);
    EXPECT_NE("", FileUtils::getConfigDirectory());
    ::umask(maskBefore);
    EXPECT_EQ(0700U, modeOf(root / "new"));
    EXPECT_EQ(0700U, modeOf(root / "new/.config"));
    EXPECT_EQ(0700U, modeOf(root / "new/.config/zebnetutils"));
}

TEST_F(FileUtilsTest, ADirectoryThatIsThereStaysAsItIs) {
    ::setenv("XDG_CONFIG_HOME", root.c_str(), 1);
    fs::create_directory(root / "zebnetutils");
    fs::permissions(root / "zebnetutils", fs::perms(0755));
    EXPECT_EQ((root / "zebnetutils").string(), FileUtils::getConfigDirectory());
    EXPECT_EQ(0755U, modeOf(root / "zebnetutils"));
}

TEST_F(FileUtilsTest, TheConfigDirectoryIsEmptyWhenItCannotBeMade) {
    std::ofstream(root / "file") << "x";
    ::setenv("XDG_CONFIG_HOME", (root / "file").c_str(), 1);
    EXPECT_EQ("", FileUtils::getConfigDirectory());
}

TEST_F(FileUtilsTest, TheSeparatorIsASlash) {
    EXPECT_EQ("/", FileUtils::FileSeparator());
}

TEST_F(FileUtilsTest, AFileExists) {
    std::ofstream(root / "file") << "x";
    EXPECT_TRUE(FileUtils::fileExists((root / "file").string()));
}

TEST_F(FileUtilsTest, ADirectoryIsNoFile) {
    EXPECT_FALSE(FileUtils::fileExists(root.string()));
}

TEST_F(FileUtilsTest, WhatIsNotThereDoesNotExist) {
    EXPECT_FALSE(FileUtils::fileExists((root / "none").string()));
    EXPECT_FALSE(FileUtils::fileExists(""));
    EXPECT_FALSE(FileUtils::fileExists(std::string(100000, 'x')));
}

TEST_F(FileUtilsTest, ALinkExistsAsItsTargetDoes) {
    std::ofstream(root / "file") << "x";
    fs::create_symlink(root / "file", root / "link");
    fs::create_symlink(root / "none", root / "dangling");
    EXPECT_TRUE(FileUtils::fileExists((root / "link").string()));
    EXPECT_FALSE(FileUtils::fileExists((root / "dangling").string()));
}

}  // namespace
}  // namespace QRMCoreUtils
