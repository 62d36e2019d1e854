#include "support/OwnFile.h"

#include "support/Lab.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <system_error>
#include <unistd.h>

namespace zeb::test {
namespace {

void check(int answer, const std::string& what) {
    if (answer < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

}  // namespace

OwnFile::OwnFile(const std::string& path, const std::string& contents)
    : source_(lab::directory() + "/state/own-XXXXXX") {
    const int file = ::mkstemp(source_.data());
    check(file, source_);
    ::close(file);
    write(contents);
    char* const target = ::realpath(path.c_str(), nullptr);
    target_ = target == nullptr ? path : target;
    std::free(target);
    check(::unshare(CLONE_NEWNS), "unshare");
    check(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "mount /");
    check(::mount(source_.c_str(), target_.c_str(), nullptr, MS_BIND, nullptr), "mount " + target_);
}

OwnFile::~OwnFile() {
    ::umount2(target_.c_str(), MNT_DETACH);
    ::unlink(source_.c_str());
}

void OwnFile::write(const std::string& contents) {
    std::ofstream file(source_, std::ios::trunc);
    file << contents;
    file.close();
    if (!file) {
        throw std::system_error(EIO, std::generic_category(), source_);
    }
}

void leaveTheNetwork() {
    check(::unshare(CLONE_NEWNET), "unshare");
}

}  // namespace zeb::test
