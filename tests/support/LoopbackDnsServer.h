#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zeb::test {

/// One question to a name server, as it came.
struct DnsQuestion {
    static constexpr unsigned int A = 1;
    static constexpr unsigned int CNAME = 5;
    static constexpr unsigned int TXT = 16;
    static constexpr unsigned int AAAA = 28;
    static constexpr unsigned int SRV = 33;

    std::string name;  ///< without the dot at its end
    unsigned int type = 0;
    bool overTcp = false;
    std::string raw;  ///< the whole message
};

/// An answer to a question, put together record by record, with nothing compressed. Each record belongs to
/// the name that was asked for unless it is told otherwise.
class DnsAnswer {
public:
    static constexpr unsigned int SERVFAIL = 2;
    static constexpr unsigned int NXDOMAIN = 3;
    static constexpr unsigned int REFUSED = 5;

    explicit DnsAnswer(const DnsQuestion& question);

    DnsAnswer& code(unsigned int rcode);
    /// Says that there is more, to be asked for over TCP.
    DnsAnswer& truncated();
    DnsAnswer& owner(const std::string& name);
    DnsAnswer& a(const std::string& address, std::uint32_t ttl);
    DnsAnswer& aaaa(const std::string& address, std::uint32_t ttl);
    DnsAnswer& cname(const std::string& target, std::uint32_t ttl);
    DnsAnswer& srv(unsigned int priority, unsigned int weight, unsigned int port, const std::string& target,
                   std::uint32_t ttl);
    /// A record of whatever type with those bytes, and with the length that it claims to have.
    DnsAnswer& record(unsigned int type, const std::string& data, std::uint32_t ttl,
                      std::optional<std::size_t> claimedLength = std::nullopt);

    /// The message. `counted` is the number of records that its head claims, by default the true one.
    std::string bytes(std::optional<unsigned int> counted = std::nullopt) const;

    /// A name in the form of the wire.
    static std::string wireName(const std::string& name);
    /// A number of 16 bits in the form of the wire.
    static std::string wire16(unsigned int number);

private:
    std::string question_;  ///< id, flags without ours, and the question itself
    std::string owner_;
    std::string records_;
    unsigned int count_ = 0;
    unsigned int flags_;
};

/// A name server on 127.0.0.1, UDP and TCP, whose answers a test scripts and whose questions it can look at.
/// It listens when the constructor returns.
class LoopbackDnsServer {
public:
    /// What goes back, byte for byte; nothing is silence. Called on the server's thread, one at a time.
    using Handler = std::function<std::optional<std::string>(const DnsQuestion&)>;

    explicit LoopbackDnsServer(Handler handler);
    ~LoopbackDnsServer();
    LoopbackDnsServer(const LoopbackDnsServer&) = delete;
    LoopbackDnsServer& operator=(const LoopbackDnsServer&) = delete;

    /// "127.0.0.1:port"
    std::string authority() const;
    /// In the order in which they came.
    std::vector<DnsQuestion> questions() const;

private:
    struct State;

    void serve();
    void serveUdp();
    void serveTcp();
    std::optional<std::string> answerTo(const std::string& message, bool overTcp);

    const std::unique_ptr<State> state_;
};

}  // namespace zeb::test
