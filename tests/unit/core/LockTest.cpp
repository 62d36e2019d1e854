#include "core/Condition.h"
#include "core/Event.h"
#include "core/Mutex.h"
#include "core/RWLock.h"
#include "core/ScopedLock.h"
#include "core/ScopedRWLock.h"
#include "support/Printed.h"
#include "support/Threads.h"

#include <cerrno>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

/// The sanitizer reports what the test is about, although a recursive mutex answers it with EPERM.
#ifdef __SANITIZE_THREAD__
#define SKIP_UNDER_THREAD_SANITIZER() GTEST_SKIP() << "A release by another than the holder is reported."
#else
#define SKIP_UNDER_THREAD_SANITIZER() static_cast<void>(0)
#endif

namespace zeb::test {
namespace {

/// A thread that wants the mutex.
class Contender {
public:
    explicit Contender(Mutex& mutex)
        : thread_([this, &mutex] {
              const ScopedLock lock(mutex);
              entered_.set();
          }) {}
    ~Contender() { thread_.join(); }
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;

    /// True when it has been let in; false when it is kept waiting.
    bool isIn() {
        EXPECT_TRUE(awaitOthersAsleep());
        return entered_.timedWait(0);
    }
    void awaitEntry() { entered_.wait(); }

private:
    Event entered_{false};
    std::thread thread_;
};

void awaitText(const RWLock& lock, const std::string& text) {
    while (printed(lock) != text) {
        std::this_thread::yield();
    }
}

TEST(MutexTest, ItsHolderMayTakeItAgain) {
    Mutex mutex;
    EXPECT_EQ(0, mutex.lock());
    EXPECT_EQ(0, mutex.lock());
    EXPECT_EQ(0, mutex.unlock());
    EXPECT_EQ(0, mutex.unlock());
}

TEST(MutexTest, ItIsFreeOnlyWhenReleasedAsOftenAsTaken) {
    Mutex mutex;
    mutex.lock();
    mutex.lock();
    Contender other(mutex);
    EXPECT_FALSE(other.isIn());
    mutex.unlock();
    EXPECT_FALSE(other.isIn());
    mutex.unlock();
    other.awaitEntry();
}

TEST(MutexTest, ReleasingWhatOneDoesNotHoldAnswersThePosixError) {
    SKIP_UNDER_THREAD_SANITIZER();
    Mutex mutex;
    mutex.lock();
    std::thread([&] { EXPECT_EQ(EPERM, mutex.unlock()); }).join();
    EXPECT_EQ(0, mutex.unlock());
    EXPECT_EQ(EPERM, mutex.unlock());
}

TEST(MutexTest, ItKeepsThreadsApart) {
    Mutex mutex;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 5000; ++n) {
                const ScopedLock lock(mutex);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(20000, counter);
}

TEST(MutexTest, ADestroyedMutexAnswersOneAndDoesNothing) {
    // As a static mutex that is used after its destruction: the storage is still there.
    alignas(Mutex) std::byte storage[sizeof(Mutex)];
    auto* const mutex = new (storage) Mutex;
    mutex->~Mutex();
    auto* const remains = std::launder(reinterpret_cast<Mutex*>(storage));
    EXPECT_EQ(1, remains->lock());
    EXPECT_EQ(1, remains->unlock());
    Condition condition;
    EXPECT_EQ(EINVAL, condition.wait(*remains));
    EXPECT_EQ(EINVAL, condition.timedWait(*remains, 1));
}

TEST(ScopedLockTest, ItHoldsTheMutexToTheEndOfTheScope) {
    Mutex mutex;
    std::optional<Contender> other;
    {
        const ScopedLock lock(mutex);
        other.emplace(mutex);
        EXPECT_FALSE(other->isIn());
    }
    other->awaitEntry();
}

TEST(ScopedLockTest, UnlockReleasesEarly) {
    Mutex mutex;
    ScopedLock lock(mutex);
    Contender other(mutex);
    EXPECT_FALSE(other.isIn());
    EXPECT_EQ(0, lock.unlock());
    other.awaitEntry();
}

TEST(ScopedLockTest, UnlockThenDestructionReleasesTheMutexOnceOnly) {
    Mutex mutex;
    mutex.lock();
    {
        ScopedLock lock(mutex);
        EXPECT_EQ(0, lock.unlock());
    }
    Contender other(mutex);
    EXPECT_FALSE(other.isIn()) << "the outer lock is still held";
    EXPECT_EQ(0, mutex.unlock());
    other.awaitEntry();
}

TEST(ScopedLockTest, ASecondUnlockAnswersZeroAndReleasesNothing) {
    Mutex mutex;
    mutex.lock();
    ScopedLock lock(mutex);
    EXPECT_EQ(0, lock.unlock());
    EXPECT_EQ(0, lock.unlock());
    Contender other(mutex);
    EXPECT_FALSE(other.isIn()) << "the outer lock is still held";
    EXPECT_EQ(0, mutex.unlock());
    other.awaitEntry();
}

TEST(ScopedLockTest, UnlockAnswersTheErrorOfTheMutex) {
    SKIP_UNDER_THREAD_SANITIZER();
    Mutex mutex;
    ScopedLock lock(mutex);
    mutex.unlock();
    EXPECT_EQ(EPERM, lock.unlock());
}

TEST(RWLockTest, ItPrintsItsReadersAndWaitingWriters) {
    RWLock lock;
    EXPECT_EQ("rwlock 0, waiting writers 0", printed(lock));
    EXPECT_EQ(0, lock.readLock());
    EXPECT_EQ(0, lock.readLock());
    EXPECT_EQ("rwlock 2, waiting writers 0", printed(lock));
    EXPECT_EQ(0, lock.unlock());
    EXPECT_EQ(0, lock.unlock());
    EXPECT_EQ(0, lock.writeLock());
    EXPECT_EQ("rwlock -1, waiting writers 0", printed(lock));
    EXPECT_EQ(0, lock.unlock());
    EXPECT_EQ("rwlock 0, waiting writers 0", printed(lock));
}

TEST(RWLockTest, ReleasingAFreeLockLeavesItAsAWriterWouldHoldIt) {
    RWLock lock;
    EXPECT_EQ(0, lock.unlock());
    EXPECT_EQ("rwlock -1, waiting writers 0", printed(lock));
    EXPECT_EQ(0, lock.unlock());
    EXPECT_EQ("rwlock 0, waiting writers 0", printed(lock));
}

TEST(RWLockTest, ReadersShareIt) {
    RWLock lock;
    const ScopedReadRWLock mine(lock);
    std::thread([&] {
        const ScopedReadRWLock other(lock);
        EXPECT_EQ("rwlock 2, waiting writers 0", printed(lock));
    }).join();
    EXPECT_EQ("rwlock 1, waiting writers 0", printed(lock));
}

TEST(RWLockTest, AReaderBehindAWaitingWriterBlocksEvenWhileOnlyReadersHoldTheLock) {
    RWLock lock;
    std::vector<std::string> order;  // guarded by the lock's own order: each is alone when it writes
    Event readerCame(false);
    lock.readLock();
    std::thread writer([&] {
        const ScopedWriteRWLock held(lock);
        order.emplace_back("writer");
    });
    awaitText(lock, "rwlock 1, waiting writers 1");
    std::thread reader([&] {
        const ScopedReadRWLock held(lock);
        order.emplace_back("reader");
        readerCame.set();
    });
    EXPECT_TRUE(awaitOthersAsleep());
    EXPECT_FALSE(readerCame.timedWait(0));
    EXPECT_EQ("rwlock 1, waiting writers 1", printed(lock));
    lock.unlock();
    writer.join();
    reader.join();
    EXPECT_THAT(order, testing::ElementsAre("writer", "reader"));
}

TEST(RWLockTest, AWriterKeepsWritersAndReadersOut) {
    RWLock lock;
    Event came(false);
    lock.writeLock();
    std::thread writer([&] {
        const ScopedWriteRWLock held(lock);
        came.set();
    });
    awaitText(lock, "rwlock -1, waiting writers 1");
    EXPECT_TRUE(awaitOthersAsleep());
    EXPECT_FALSE(came.timedWait(0));
    lock.unlock();
    EXPECT_TRUE(came.wait());
    writer.join();

    lock.writeLock();
    Event read(false);
    std::thread reader([&] {
        const ScopedReadRWLock held(lock);
        read.set();
    });
    EXPECT_TRUE(awaitOthersAsleep());
    EXPECT_FALSE(read.timedWait(0));
    lock.unlock();
    EXPECT_TRUE(read.wait());
    reader.join();
}

TEST(RWLockTest, ReleasingAWriteLockWakesAllReaders) {
    RWLock lock;
    lock.writeLock();
    Event allIn(false);
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            const ScopedReadRWLock held(lock);
            allIn.wait();
        });
    }
    lock.unlock();
    awaitText(lock, "rwlock 3, waiting writers 0");
    allIn.set();
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ("rwlock 0, waiting writers 0", printed(lock));
}

TEST(RWLockTest, ReadersSeeWhatWritersWroteWhole) {
    RWLock lock;
    int left = 0;
    int right = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 2000; ++n) {
                const ScopedWriteRWLock held(lock);
                ++left;
                ++right;
            }
        });
        threads.emplace_back([&] {
            for (int n = 0; n < 2000; ++n) {
                const ScopedReadRWLock held(lock);
                ASSERT_EQ(left, right);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(4000, left);
}

TEST(ScopedRWLockTest, EachHoldsItsKindToTheEndOfTheScope) {
    RWLock lock;
    {
        const ScopedReadRWLock held(lock);
        EXPECT_EQ("rwlock 1, waiting writers 0", printed(lock));
    }
    {
        const ScopedWriteRWLock held(lock);
        EXPECT_EQ("rwlock -1, waiting writers 0", printed(lock));
    }
    EXPECT_EQ("rwlock 0, waiting writers 0", printed(lock));
}

}  // namespace
}  // namespace zeb::test
