#pragma once

#include "core/Export.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace zeb::ip {

/// An IP address held as text, or nothing: a text that is no address makes an empty one, not an error.
///
/// A plain value: copies are independent; any number of threads may read one object at the same time,
/// getBytes() included. Nothing throws unless memory runs out.
class ZEBNETUTILS_EXPORT IpAddress {
public:
    /// The address that the text is by IpUtils::isIpAddress, kept as it is spelt; else an empty one.
    static IpAddress createIpAddress(const std::string& address);

    /// An empty address.
    IpAddress() = default;

    /// The text as it was given; empty for an empty address.
    const std::string& getAddress() const { return address_; }
    bool isEmpty() const { return address_.empty(); }
    bool isIpv4Address() const;
    bool isIpv6Address() const;

    /// The address in network order: 4 bytes for IPv4, 16 for IPv6, none for an empty address. A text that
    /// the resolver takes and inet_pton doesn't ("127.1", "fe80::1%lo") logs an error and has no bytes.
    std::vector<unsigned char> getBytes() const;

    /// Compares the texts alone: "::1" and "0:0:0:0:0:0:0:1" differ.
    bool operator==(const IpAddress& other) const { return address_ == other.address_; }
    bool operator!=(const IpAddress& other) const { return !(*this == other); }

protected:
    /// Takes the text unchecked.
    explicit IpAddress(std::string address);

private:
    using Bytes = std::vector<unsigned char>;

    /// Filled by the first getBytes() that succeeds, in const objects too. Access is atomic, so that a value
    /// that several threads read stays safe to read. A copy begins with none, which costs less than to share.
    class BytesCache {
    public:
        BytesCache() = default;
        ~BytesCache() = default;
        BytesCache(const BytesCache& other);
        BytesCache& operator=(const BytesCache& other);
        std::shared_ptr<const Bytes> load() const;
        void store(std::shared_ptr<const Bytes> bytes);

    private:
        std::shared_ptr<const Bytes> bytes_;
    };

    Bytes readBytes() const;

    mutable BytesCache bytes_;
    std::string address_;
};

/// "(empty)", or the text with personal data replaced, fit for a log.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const IpAddress& address);

}  // namespace zeb::ip
