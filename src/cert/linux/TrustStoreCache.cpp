#include "cert/linux/TrustStoreCache.h"

#include "cert/utils/OpenSslHandles.h"
#include "core/ScopedLock.h"

#include <cstdio>
#include <ctime>
#include <sys/stat.h>
#include <utility>

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;
using EntriesPtr = OpenSslPtr<STACK_OF(X509_INFO)>;

std::chrono::nanoseconds sinceEpoch(const timespec& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// By the clock that the kernel takes the time stamps of files from.
std::chrono::nanoseconds stampOfNow() {
    timespec now{};
    return ::clock_gettime(CLOCK_REALTIME_COARSE, &now) == 0 ? sinceEpoch(now) : std::chrono::nanoseconds(0);
}

EntriesPtr readEntries(std::FILE* file) {
    // A password, though an empty one: without it OpenSSL would ask for one at the terminal when an entry is
    // encrypted.
    static char noPassword[] = "";
    const OpenSslPtr<BIO> bio(BIO_new_fp(file, BIO_NOCLOSE));
    return EntriesPtr(bio != nullptr ? PEM_X509_INFO_read_bio(bio.get(), nullptr, nullptr, noPassword)
                                     : nullptr);
}

bool addEntry(X509_STORE* store, const X509_INFO& entry) {
    return (entry.x509 == nullptr || X509_STORE_add_cert(store, entry.x509) == 1) &&
           (entry.crl == nullptr || X509_STORE_add_crl(store, entry.crl) == 1);
}

/// The steps of X509_LOOKUP_ctrl() for a PEM file, from a file that is open already: by its name it could be
/// another one meanwhile. False when anything but the whole file is in the store, or nothing.
bool addEntriesOf(std::FILE* file, X509_STORE* store) {
    const EntriesPtr entries = readEntries(file);
    const int count = entries != nullptr ? sk_X509_INFO_num(entries.get()) : 0;
    for (int i = 0; i < count; ++i) {
        if (!addEntry(store, *sk_X509_INFO_value(entries.get(), i))) {
            return false;
        }
    }
    return count > 0 && std::ferror(file) == 0;
}

}  // namespace

bool TrustStoreCache::FileIdentity::operator==(const FileIdentity& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           contentChange == other.contentChange && inodeChange == other.inodeChange;
}

TrustStoreCache::TrustStoreCache(std::chrono::nanoseconds settlingTime) : settlingTime_(settlingTime) {}

TrustStoreCache::~TrustStoreCache() = default;

TrustStoreCache::Store TrustStoreCache::load(const std::string& path) {
    // Opened for each call: a look at the name alone would take a file for readable that isn't any more, and
    // on a network file system could see what the file was a while ago.
    const FilePtr file(std::fopen(path.c_str(), "re"));
    const std::chrono::nanoseconds now = stampOfNow();
    FileIdentity before;
    const bool identified = file != nullptr && identify(file.get(), before);
    if (identified) {
        if (Store kept = keptFor(before)) {
            return kept;
        }
    }
    Store store(X509_STORE_new(), &X509_STORE_free);
    if (file == nullptr || store == nullptr || !addEntriesOf(file.get(), store.get())) {
        return store;
    }
    // A change from here on bears a later stamp than any that is settled now, as the clock was read first.
    FileIdentity after;
    const bool settled = identified && now - before.inodeChange > settlingTime_;
    if (settled && identify(file.get(), after) && after == before) {
        keep(before, store);
    }
    return store;
}

/// False for what is no regular file: the stamps of a pipe or a device say nothing about what it gives.
bool TrustStoreCache::identify(std::FILE* file, FileIdentity& identity) {
    struct stat status {};
    if (::fstat(::fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    identity = {status.st_dev, status.st_ino, status.st_size, sinceEpoch(status.st_mtim),
                sinceEpoch(status.st_ctim)};
    return true;
}

TrustStoreCache::Store TrustStoreCache::keptFor(const FileIdentity& identity) {
    const ScopedLock lock(mutex_);
    return store_ != nullptr && identity_ == identity ? store_ : nullptr;
}

void TrustStoreCache::keep(const FileIdentity& identity, Store store) {
    const ScopedLock lock(mutex_);
    identity_ = identity;
    store_.swap(store);  // the old one goes with the argument, after the lock
}

}  // namespace zeb::cert
