#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// Seeds that are made by code, so that no binary file needs to be kept: a custom mutator begins anew with
/// one of them now and then.
class Seeds {
public:
    explicit Seeds(std::vector<std::string> seeds) : seeds_(std::move(seeds)) {}

    /// Runs the target over each, as a replay does with the files.
    void replay(int (*target)(const std::uint8_t* data, std::size_t size)) const {
        for (const std::string& seed : seeds_) {
            target(reinterpret_cast<const std::uint8_t*>(seed.data()), seed.size());
        }
    }

    /// For LLVMFuzzerCustomMutator.
    std::size_t mutate(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned random) const {
        constexpr unsigned ANEW = 4;  // once in so many times
        const std::string& seed = seeds_[random / ANEW % seeds_.size()];
        if (random % ANEW == 0 && seed.size() <= maxSize) {
            std::copy(seed.begin(), seed.end(), data);
            size = seed.size();
        }
        return LLVMFuzzerMutate(data, size, maxSize);
    }

private:
    std::vector<std::string> seeds_;
};
