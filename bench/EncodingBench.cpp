/// The Base64 family against OpenSSL's EVP_EncodeBlock and EVP_DecodeBlock, of the same run.

#include "core/Base64.h"

#include <cstddef>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

namespace {

std::vector<unsigned char> testBytes(std::size_t size) {
    std::vector<unsigned char> bytes(size);
    unsigned int state = 1;
    for (unsigned char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(state >> 24U);
    }
    return bytes;
}

std::string testText(std::size_t size, bool lineBreaks) {
    const std::vector<unsigned char> bytes = testBytes(size);
    return zeb::base64_encode(bytes.data(), static_cast<unsigned int>(size), lineBreaks);
}

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void encodeByOpenSsl(benchmark::State& state) {
    const std::vector<unsigned char> bytes = testBytes(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        // What a caller needs in order to end with a std::string, too.
        std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
        const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
                                         static_cast<int>(bytes.size()));
        text.resize(static_cast<std::size_t>(size));
        benchmark::DoNotOptimize(text.data());
    }
    setBytes(state);
}

void encode(benchmark::State& state, bool lineBreaks) {
    const std::vector<unsigned char> bytes = testBytes(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const std::string text =
            zeb::base64_encode(bytes.data(), static_cast<unsigned int>(bytes.size()), lineBreaks);
        benchmark::DoNotOptimize(text.data());
    }
    setBytes(state);
}

void decodeByOpenSsl(benchmark::State& state) {
    const std::string text = testText(static_cast<std::size_t>(state.range(0)), false);
    for (auto _ : state) {
        std::vector<unsigned char> bytes(text.size() / 4 * 3);
        benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(),
                                                 reinterpret_cast<const unsigned char*>(text.data()),
                                                 static_cast<int>(text.size())));
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytes(state);
}

// The same without memory for the result: the bare conversion.
void encodeByBareOpenSsl(benchmark::State& state) {
    const std::vector<unsigned char> bytes = testBytes(static_cast<std::size_t>(state.range(0)));
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
                                                 static_cast<int>(bytes.size())));
        benchmark::ClobberMemory();
    }
    setBytes(state);
}

void decodeByBareOpenSsl(benchmark::State& state) {
    const std::string text = testText(static_cast<std::size_t>(state.range(0)), false);
    std::vector<unsigned char> bytes(text.size() / 4 * 3);
    for (auto _ : state) {
        benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(),
                                                 reinterpret_cast<const unsigned char*>(text.data()),
                                                 static_cast<int>(text.size())));
        benchmark::ClobberMemory();
    }
    setBytes(state);
}

void decode(benchmark::State& state, bool lineBreaks) {
    const std::string text = testText(static_cast<std::size_t>(state.range(0)), lineBreaks);
    for (auto _ : state) {
        std::vector<unsigned char> bytes;
        benchmark::DoNotOptimize(zeb::base64_decode(text, bytes));
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytes(state);
}

constexpr std::int64_t KIB = 1 << 10;
constexpr std::int64_t MIB = 1 << 20;

BENCHMARK(encodeByBareOpenSsl)->Arg(KIB)->Arg(MIB);
BENCHMARK(encodeByOpenSsl)->Arg(KIB)->Arg(MIB);
BENCHMARK_CAPTURE(encode, plain, false)->Arg(KIB)->Arg(MIB);
BENCHMARK_CAPTURE(encode, lines, true)->Arg(KIB)->Arg(MIB);
BENCHMARK(decodeByBareOpenSsl)->Arg(KIB)->Arg(MIB);
BENCHMARK(decodeByOpenSsl)->Arg(KIB)->Arg(MIB);
BENCHMARK_CAPTURE(decode, plain, false)->Arg(KIB)->Arg(MIB);
BENCHMARK_CAPTURE(decode, lines, true)->Arg(KIB)->Arg(MIB);

}  // namespace

BENCHMARK_MAIN();
