#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>

#include <gtest/gtest.h>

namespace zeb::test {

/// A folder of the test's own, gone with the object.
class TestFolder {
public:
    TestFolder() {
        std::string pattern = testing::TempDir() + "zeb-test-XXXXXX";
        path_ = ::mkdtemp(pattern.data());
    }
    ~TestFolder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string path(const std::string& name) const { return path_ + "/" + name; }

    /// The path of a new file with that content.
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    /// The path of a link to the device that is always full. (A link, as what can't be written is removed.)
    std::string fullDisk() const {
        std::filesystem::create_symlink("/dev/full", path("full"));
        return path("full");
    }

    static bool exists(const std::string& path) {
        return std::filesystem::exists(std::filesystem::symlink_status(path));
    }

    static std::string read(const std::string& path) {
        std::ostringstream content;
        content << std::ifstream(path, std::ios::binary).rdbuf();
        return content.str();
    }

private:
    std::string path_;
};

/// A file of the test's own, gone with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& content = "") {
        std::string pattern = testing::TempDir() + "zeb-test-XXXXXX";
        const int descriptor = ::mkstemp(pattern.data());
        EXPECT_GE(descriptor, 0);
        ::close(descriptor);
        path_ = pattern;
        std::ofstream(path_, std::ios::binary) << content;
    }
    ~TemporaryFile() { ::unlink(path_.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return path_; }
    std::string content() const { return TestFolder::read(path_); }

private:
    std::string path_;
};

}  // namespace zeb::test
