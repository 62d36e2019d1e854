// What stands under everything: the allocator hooks under each allocation of libcurl, and the task pool.

#include "core/Event.h"
#include "core/Mutex.h"
#include "core/RWLock.h"
#include "core/ScopedLock.h"
#include "core/ScopedRWLock.h"
#include "core/SecureStringUtils.h"
#include "core/Task.h"
#include "core/ThreadPool.h"
#include "netutils/LibCurlMemoryManager.h"

#include <atomic>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

namespace zeb {
namespace {

constexpr std::size_t BLOCK_SIZE = 64;
constexpr unsigned IDLE_SECONDS = 60;

/// The plain form of the hooks, to measure ours against: a tree, a node from the heap per block, and the lock
/// held while the block is wiped and freed.
class PlainMap {
public:
    static void* allocate(std::size_t size) {
        void* const block = std::malloc(size);
        PlainMap& self = instance();
        const ScopedLock lock(self.mutex_);
        self.blocks_.emplace(block, size);
        return block;
    }
    static void release(void* block) {
        PlainMap& self = instance();
        const ScopedLock lock(self.mutex_);
        const auto found = self.blocks_.find(block);
        SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(block), found->second);
        std::free(block);
        self.blocks_.erase(found);
    }

private:
    static PlainMap& instance() {
        static auto* const map = new PlainMap;
        return *map;
    }
    Mutex mutex_;
    std::map<void*, unsigned long> blocks_;
};

struct Unhooked {
    static void* allocate(std::size_t size) { return std::malloc(size); }
    static void release(void* block) { std::free(block); }
};

struct Hooked {
    static void* allocate(std::size_t size) { return netutils::libcurl_malloc_callback(size); }
    static void release(void* block) { netutils::libcurl_free_callback(block); }
};

/// One allocation and its release, while the given number of other blocks is held.
template <typename Allocator>
void allocateAndRelease(benchmark::State& state) {
    static std::vector<void*> held;
    if (state.thread_index() == 0) {
        for (std::int64_t i = 0; i < state.range(0); ++i) {
            held.push_back(Allocator::allocate(BLOCK_SIZE));
        }
    }
    for (auto _ : state) {
        void* block = Allocator::allocate(BLOCK_SIZE);
        benchmark::DoNotOptimize(block);
        Allocator::release(block);
    }
    if (state.thread_index() == 0) {
        for (void* block : held) {
            Allocator::release(block);
        }
        held.clear();
    }
}
BENCHMARK_TEMPLATE(allocateAndRelease, Unhooked)->Arg(0)->Arg(100000)->Threads(1)->Threads(4);
BENCHMARK_TEMPLATE(allocateAndRelease, PlainMap)->Arg(0)->Arg(1000)->Arg(100000)->Threads(1)->Threads(4);
BENCHMARK_TEMPLATE(allocateAndRelease, Hooked)->Arg(0)->Arg(1000)->Arg(100000)->Threads(1)->Threads(4);

/// What transfers do: so many blocks of all ages and several sizes, any of which goes when a new one comes.
template <typename Allocator>
void mixedAges(benchmark::State& state) {
    const auto live = static_cast<std::size_t>(state.range(0));
    std::minstd_rand random(1);
    std::vector<void*> blocks(live);
    for (void*& block : blocks) {
        block = Allocator::allocate(16 + random() % 500);
    }
    for (auto _ : state) {
        void*& block = blocks[random() % live];
        Allocator::release(block);
        block = Allocator::allocate(16 + random() % 500);
    }
    for (void* block : blocks) {
        Allocator::release(block);
    }
}
BENCHMARK_TEMPLATE(mixedAges, Unhooked)->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK_TEMPLATE(mixedAges, PlainMap)->Arg(100)->Arg(1000)->Arg(100000);
BENCHMARK_TEMPLATE(mixedAges, Hooked)->Arg(100)->Arg(1000)->Arg(100000);

void reallocGrowth(benchmark::State& state) {
    for (auto _ : state) {
        void* block = nullptr;
        for (std::size_t size = 1024; size <= std::size_t{1024} * 1024; size *= 2) {
            block = netutils::libcurl_realloc_callback(block, size);
        }
        netutils::libcurl_free_callback(block);
    }
}
BENCHMARK(reallocGrowth);

class CountingTask : public Task {
public:
    CountingTask(std::atomic<std::int64_t>& left, Event& done) : left_(left), done_(done) {}
    void execute() override {
        if (--left_ == 0) {
            done_.set();
        }
    }

private:
    std::atomic<std::int64_t>& left_;
    Event& done_;
};

class NothingTask : public Task {
public:
    void execute() override {}
};

/// From the enqueue on one thread to the end of the task on an idle pool thread, and back.
void poolRoundTrip(benchmark::State& state) {
    ThreadPool pool(1, 1, "Bench", IDLE_SECONDS);
    const auto task = std::make_shared<NothingTask>();
    for (auto _ : state) {
        pool.enqueue(task, true, false);
    }
}
BENCHMARK(poolRoundTrip)->UseRealTime();

/// The caller's share: what an enqueue costs while the pool is busy.
void poolEnqueue(benchmark::State& state) {
    ThreadPool pool(0, 0, "Bench", IDLE_SECONDS);
    const auto task = std::make_shared<NothingTask>();
    for (auto _ : state) {
        pool.enqueue(task, false, false);
    }
    pool.clearQueue();
}
BENCHMARK(poolEnqueue)->Iterations(1000000);

/// Tasks per second through a pool of that many threads, enqueued by one.
void poolThroughput(benchmark::State& state) {
    constexpr std::int64_t TASKS = 20000;
    const auto threads = static_cast<unsigned>(state.range(0));
    ThreadPool pool(threads, threads, "Bench", IDLE_SECONDS);
    for (auto _ : state) {
        std::atomic<std::int64_t> left{TASKS};
        Event done(false);
        const auto task = std::make_shared<CountingTask>(left, done);
        for (std::int64_t i = 0; i < TASKS; ++i) {
            pool.enqueue(task, false, false);
        }
        done.wait();
    }
    state.SetItemsProcessed(state.iterations() * TASKS);
}
BENCHMARK(poolThroughput)->Arg(1)->Arg(2)->Arg(10)->UseRealTime()->Unit(benchmark::kMillisecond);

void mutexUncontended(benchmark::State& state) {
    Mutex mutex;
    for (auto _ : state) {
        const ScopedLock lock(mutex);
    }
}
BENCHMARK(mutexUncontended);

void readLockUncontended(benchmark::State& state) {
    RWLock lock;
    for (auto _ : state) {
        const ScopedReadRWLock held(lock);
    }
}
BENCHMARK(readLockUncontended);

void defaultTaskName(benchmark::State& state) {
    const NothingTask task;
    for (auto _ : state) {
        benchmark::DoNotOptimize(task.name());
    }
}
BENCHMARK(defaultTaskName);

}  // namespace
}  // namespace zeb

BENCHMARK_MAIN();
