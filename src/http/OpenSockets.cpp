#include "http/OpenSockets.h"

#include "core/ScopedLock.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <curl/curl.h>

namespace zeb::http {

namespace {

/// 0 for what is no open file.
unsigned long inodeOf(int socket) {
    struct stat status {};
    return fstat(socket, &status) == 0 ? status.st_ino : 0;
}

curl_socket_t openSocket(void* sockets, curlsocktype /*purpose*/, curl_sockaddr* address) {
    try {
        return static_cast<OpenSockets*>(sockets)->open(address->family, address->socktype,
                                                        address->protocol);
    } catch (...) {
        return CURL_SOCKET_BAD;  // without memory there is no connection
    }
}

int closeSocket(void* sockets, curl_socket_t socket) {
    return static_cast<OpenSockets*>(sockets)->close(socket);
}

}  // namespace

void OpenSockets::watch(void* easy) {
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &openSocket);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, &closeSocket);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
}

void OpenSockets::shutdownAll() {
    const ScopedLock lock(mutex_);
    for (const auto& [socket, inode] : sockets_) {
        if (inodeOf(socket) == inode) {
            ::shutdown(socket, SHUT_RDWR);
        }
    }
}

int OpenSockets::open(int family, int type, int protocol) {
    const int socket = ::socket(family, type | SOCK_CLOEXEC, protocol);
    if (socket != -1) {
        const ScopedLock lock(mutex_);
        sockets_[socket] = inodeOf(socket);
    }
    return socket;
}

int OpenSockets::close(int socket) {
    const ScopedLock lock(mutex_);
    sockets_.erase(socket);
    return ::close(socket);
}

}  // namespace zeb::http
