#pragma once

#include "support/TestFiles.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace zeb::cert::test {

/// A folder in place of the system's, with what can happen to a bundle in it. Gone with the object.
class BundleFolder {
public:
    /// Ends in a slash.
    std::string path() const { return folder_.path(""); }
    std::string first() const { return folder_.path("ca-certificates.crt"); }
    std::string second() const { return folder_.path("ca-bundle.crt"); }

    /// The file stays the one it is, or is made.
    static void rewrite(const std::string& path, const std::string& content) {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        ASSERT_TRUE(file << content) << path;
    }
    /// Another file takes its place, as package managers do it.
    static void replace(const std::string& path, const std::string& content) {
        rewrite(path + ".new", content);
        ASSERT_EQ(0, std::rename((path + ".new").c_str(), path.c_str()));
    }
    static void remove(const std::string& path) { ASSERT_TRUE(std::filesystem::remove(path)); }

    /// The time of the last change of the content, set back as `touch -r` does it.
    static void setContentChange(const std::string& path, const timespec& time) {
        const timespec times[2] = {time, time};
        ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, 0));
    }
    static struct stat statusOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(0, ::stat(path.c_str(), &status));
        return status;
    }

private:
    const zeb::test::TestFolder folder_;
};

}  // namespace zeb::cert::test
