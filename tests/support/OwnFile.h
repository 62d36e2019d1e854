#pragma once

#include <string>

namespace zeb::test {

/// While it lives, a file of the system has other contents for the calling thread, and for the threads it
/// starts from now on: nobody else sees that. For tests in the lab, which may do so.
class OwnFile {
public:
    /// Throws std::system_error if it can't be done.
    OwnFile(const std::string& path, const std::string& contents);
    ~OwnFile();
    OwnFile(const OwnFile&) = delete;
    OwnFile& operator=(const OwnFile&) = delete;

    void write(const std::string& contents);

private:
    std::string target_;  ///< what `path` leads to
    std::string source_;  ///< the file that stands in its place
};

/// From now on the calling thread, and those it starts, have a network of their own in which nothing is up.
void leaveTheNetwork();

}  // namespace zeb::test
