#include "http/OpenSockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

/// Watched sockets, and a pair that a test puts in the place of one.
class OpenSocketsTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair_), 0);
        watched_ = sockets_.open(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_GE(watched_, 0);
    }
    void TearDown() override {
        ::close(pair_[0]);
        ::close(pair_[1]);
        sockets_.close(watched_);
    }
    /// Its end can be read, without waiting.
    static bool isEnded(int socket) {
        char byte = 0;
        return recv(socket, &byte, 1, MSG_DONTWAIT) == 0;
    }

    OpenSockets sockets_;
    int pair_[2] = {-1, -1};
    int watched_ = -1;
};

TEST_F(OpenSocketsTest, AWaitForAnOpenSocketEndsAtOnce) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const int socket = sockets_.open(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(connect(socket, reinterpret_cast<sockaddr*>(&address), length), 0);
    sockets_.shutdownAll();
    pollfd waited{socket, POLLIN, 0};
    EXPECT_EQ(poll(&waited, 1, 10000), 1);
    EXPECT_TRUE(isEnded(socket));
    EXPECT_EQ(sockets_.close(socket), 0);
    ::close(listener);
}

TEST_F(OpenSocketsTest, ANumberThatHasBecomeAnotherSocketsIsLeftAlone) {
    ASSERT_EQ(dup2(pair_[0], watched_), watched_);
    sockets_.shutdownAll();
    EXPECT_FALSE(isEnded(pair_[1]));
}

TEST_F(OpenSocketsTest, AClosedSocketIsForgotten) {
    EXPECT_EQ(sockets_.close(watched_), 0);
    ASSERT_EQ(dup2(pair_[0], watched_), watched_);
    sockets_.shutdownAll();
    EXPECT_FALSE(isEnded(pair_[1]));
}

TEST_F(OpenSocketsTest, WhatTheSystemRefusesIsNoSocket) {
    EXPECT_EQ(sockets_.open(-1, SOCK_STREAM, 0), -1);
}

}  // namespace
}  // namespace zeb::http::test
