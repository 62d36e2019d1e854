#pragma once

#include "core/Mutex.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

struct x509_store_st;

namespace zeb::cert {

/// The trusted certificates of a bundle file, read once for as long as the file is the same one. Each call
/// looks at the file anew, so a bundle that was replaced, rewritten or taken away counts from the very next
/// call on; what is saved is the parsing, some 17 ms for the bundle of a system.
///
/// The same one means: the same device, inode, size, time of the last change of its content and time of the
/// last change of its inode, both to the nanosecond. Whoever sets the former back moves the latter.
///
/// Any thread may call, several at once.
class TrustStoreCache {
public:
    /// Shared by any number of verifications, each with a context of its own that it outlives. Nobody adds to
    /// it.
    using Store = std::shared_ptr<x509_store_st>;

    /// How old a change must be before its time stamp is taken for its own. A stamp is only as fine as the
    /// clock of the file system: two changes within one tick can bear the same one, and then nothing would
    /// tell the second. The tick is 4 ms on a local file system, and as much as 2 s on others.
    static constexpr std::chrono::nanoseconds SETTLING_TIME = std::chrono::seconds(2);

    explicit TrustStoreCache(std::chrono::nanoseconds settlingTime = SETTLING_TIME);
    ~TrustStoreCache();
    TrustStoreCache(const TrustStoreCache&) = delete;
    TrustStoreCache& operator=(const TrustStoreCache&) = delete;

    /// What OpenSSL's own X509_L_FILE_LOAD makes of this file in PEM form: its certificates, those with trust
    /// settings, and its revocation lists. OpenSSL takes a damaged bundle for none at all, so that one, like
    /// one that can't be read, gives an empty store. Null only when memory runs out. May leave entries in the
    /// thread's OpenSSL error queue.
    ///
    /// A load that failed, was overtaken by a change, or came within the settling time of one is good for its
    /// own call alone.
    Store load(const std::string& path);

private:
    struct FileIdentity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = 0;
        std::chrono::nanoseconds contentChange{};  ///< mtime
        std::chrono::nanoseconds inodeChange{};    ///< ctime

        bool operator==(const FileIdentity& other) const;
    };

    static bool identify(std::FILE* file, FileIdentity& identity);
    Store keptFor(const FileIdentity& identity);
    void keep(const FileIdentity& identity, Store store);

    const std::chrono::nanoseconds settlingTime_;
    Mutex mutex_;  ///< guards what follows; no file is read under it
    FileIdentity identity_;
    Store store_;  ///< null: none
};

}  // namespace zeb::cert
