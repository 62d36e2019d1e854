#pragma once

#include <arpa/inet.h>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zeb::bench {

/// A server in a child process, so that no side of a comparison pays for its work; it ends with its parent.
/// It answers every request head with a body of the same size, and has one thread, as servers for many
/// connections do: with one for each, those that the client's sends wake take its processor from it, and how
/// often is chance.
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
        const int events = epoll_create1(0);
        watch(events, listener);
        std::map<int, std::string> received;
        for (;;) {
            epoll_event ready[64];
            const int count = epoll_wait(events, ready, 64, -1);
            for (int i = 0; i < count; ++i) {
                const int socket = ready[i].data.fd;
                if (socket == listener) {
                    const int connection = accept(listener, nullptr, nullptr);
                    const int on = 1;
                    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
                    watch(events, connection);
                } else if (!serveConnection(socket, received[socket])) {
                    close(socket);
                    received.erase(socket);
                }
            }
        }
    }

    static void watch(int events, int socket) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = socket;
        epoll_ctl(events, EPOLL_CTL_ADD, socket, &event);
    }

    /// False at the connection's end.
    bool serveConnection(int connection, std::string& received) const {
        char buffer[4096];
        const ssize_t count = read(connection, buffer, sizeof buffer);
        if (count <= 0) {
            return false;
        }
        received.append(buffer, static_cast<std::size_t>(count));
        std::size_t end = 0;
        while ((end = received.find("\r\n\r\n")) != std::string::npos) {
            received.erase(0, end + 4);
            answer(connection);
        }
        return true;
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
