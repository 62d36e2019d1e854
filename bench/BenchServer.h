#pragma once

#include <arpa/inet.h>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace zeb::bench {

/// A server in a child process, so that no side of a comparison pays for its work; it ends with its parent.
/// It answers every request head with a body of the same size.
class Server {
public:
    explicit Server(std::size_t bodySize) : bodySize_(bodySize) {
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            listen(listener, SOMAXCONN) != 0 ||
            getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
            std::perror("bench server");
            std::exit(EXIT_FAILURE);
        }
        url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/page";
        child_ = fork();
        if (child_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            serve(listener);
        }
        close(listener);
    }
    ~Server() { kill(child_, SIGKILL); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::string& url() const { return url_; }

private:
    [[noreturn]] void serve(int listener) const {
        for (;;) {
            const int connection = accept(listener, nullptr, nullptr);
            const int on = 1;
            setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            std::thread([this, connection] { serveConnection(connection); }).detach();
        }
    }

    void serveConnection(int connection) const {
        std::string received;
        char buffer[4096];
        ssize_t count = 0;
        while ((count = read(connection, buffer, sizeof buffer)) > 0) {
            received.append(buffer, static_cast<std::size_t>(count));
            std::size_t end = 0;
            while ((end = received.find("\r\n\r\n")) != std::string::npos) {
                received.erase(0, end + 4);
                answer(connection);
            }
        }
        close(connection);
    }

    /// Head and body, as far as it is small, in one packet.
    void answer(int connection) const {
        static constexpr std::size_t PIECE = 256 * 1024;
        std::string piece =
            "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nServer: bench\r\nContent-Length: " +
            std::to_string(bodySize_) + "\r\n\r\n";
        std::size_t left = bodySize_;
        do {
            const std::size_t size = left < PIECE ? left : PIECE;
            piece.append(size, 'x');
            left -= size;
            for (std::size_t sent = 0; sent < piece.size();) {
                const ssize_t count =
                    send(connection, piece.data() + sent, piece.size() - sent, MSG_NOSIGNAL);
                if (count <= 0) {
                    return;
                }
                sent += static_cast<std::size_t>(count);
            }
            piece.clear();
        } while (left > 0);
    }

    const std::size_t bodySize_;
    std::string url_;
    pid_t child_ = -1;
};

}  // namespace zeb::bench
