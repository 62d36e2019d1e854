/// SecureString against the bare cipher calls, and wiping against what the system offers, of the same run.

#include "core/GuaranteedMemset.h"
#include "core/OpenSSLCompat.h"
#include "core/SecureString.h"
#include "core/SecureStringReader.h"
#include "core/SecureStringUtils.h"

#include <cstddef>
#include <string.h>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace {

constexpr unsigned char KEY[32] = {};
constexpr std::int64_t PASSWORD_SIZE = 64;

// EVP_aes_256_cbc() is how most callers name the cipher; OpenSSL 3 looks it up again at each use.
const EVP_CIPHER* implicitCipher() {
    return EVP_aes_256_cbc();
}

void bareEncrypt(benchmark::State& state, const EVP_CIPHER* (*cipher)()) {
    const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    std::vector<unsigned char> out(text.size() + 32);
    unsigned char iv[16];
    for (auto _ : state) {
        EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
        RAND_bytes(iv, sizeof(iv));
        int written = 0;
        int last = 0;
        EVP_EncryptInit_ex(context, cipher(), nullptr, KEY, iv);
        EVP_EncryptUpdate(context, out.data(), &written, reinterpret_cast<const unsigned char*>(text.data()),
                          static_cast<int>(text.size()));
        EVP_EncryptFinal_ex(context, out.data() + written, &last);
        EVP_CIPHER_CTX_free(context);
        benchmark::ClobberMemory();
    }
}

void bareDecrypt(benchmark::State& state, const EVP_CIPHER* (*cipher)()) {
    const std::size_t size = static_cast<std::size_t>(state.range(0));
    const std::string text(size, 'x');
    std::vector<unsigned char> ciphertext(size + 32);
    std::vector<unsigned char> out(size + 64);
    const unsigned char iv[16] = {};
    int written = 0;
    int last = 0;
    EVP_CIPHER_CTX* const encryption = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(encryption, cipher(), nullptr, KEY, iv);
    EVP_EncryptUpdate(encryption, ciphertext.data(), &written,
                      reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(size));
    EVP_EncryptFinal_ex(encryption, ciphertext.data() + written, &last);
    EVP_CIPHER_CTX_free(encryption);
    const int ciphertextSize = written + last;
    for (auto _ : state) {
        EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
        EVP_DecryptInit_ex(context, cipher(), nullptr, KEY, iv);
        EVP_DecryptUpdate(context, out.data(), &written, ciphertext.data(), ciphertextSize);
        EVP_DecryptFinal_ex(context, out.data() + written, &last);
        EVP_CIPHER_CTX_free(context);
        benchmark::ClobberMemory();
    }
}

void setSecureString(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    zeb::SecureString secret;
    for (auto _ : state) {
        secret.setValue(text.data(), text.size());
        benchmark::ClobberMemory();
    }
}

void readSecureString(benchmark::State& state) {
    const zeb::SecureString secret(std::string(static_cast<std::size_t>(state.range(0)), 'x'));
    for (auto _ : state) {
        zeb::SecureStringReader reader;
        secret.getUnsecureString(reader);
        benchmark::DoNotOptimize(reader.c_str());
    }
}

// Sets and reads in turn, as the goal is stated for the two together.
void bareEncryptAndDecrypt(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    std::vector<unsigned char> ciphertext(text.size() + 32);
    std::vector<unsigned char> out(text.size() + 64);
    unsigned char iv[16];
    for (auto _ : state) {
        int written = 0;
        int last = 0;
        EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
        RAND_bytes(iv, sizeof(iv));
        EVP_EncryptInit_ex(context, zeb::openssl::aes256Cbc(), nullptr, KEY, iv);
        EVP_EncryptUpdate(context, ciphertext.data(), &written,
                          reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
        EVP_EncryptFinal_ex(context, ciphertext.data() + written, &last);
        EVP_CIPHER_CTX_free(context);
        const int size = written + last;
        context = EVP_CIPHER_CTX_new();
        EVP_DecryptInit_ex(context, zeb::openssl::aes256Cbc(), nullptr, KEY, iv);
        EVP_DecryptUpdate(context, out.data(), &written, ciphertext.data(), size);
        EVP_DecryptFinal_ex(context, out.data() + written, &last);
        EVP_CIPHER_CTX_free(context);
        benchmark::ClobberMemory();
    }
}

void setAndReadSecureString(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    zeb::SecureString secret;
    for (auto _ : state) {
        secret.setValue(text.data(), text.size());
        zeb::SecureStringReader reader;
        secret.getUnsecureString(reader);
        benchmark::DoNotOptimize(reader.c_str());
    }
}

void wipe(benchmark::State& state, void (*function)(void*, std::size_t)) {
    std::vector<char> memory(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        function(memory.data(), memory.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void wipeByVolatileLoop(void* memory, std::size_t size) {
    auto* const bytes = static_cast<volatile unsigned char*>(memory);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = 0;
    }
}

void wipeByZEBZeroMemory(void* memory, std::size_t size) {
    zeb::SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(memory), size);
}

BENCHMARK_CAPTURE(bareEncrypt, implicit, implicitCipher)->Arg(PASSWORD_SIZE);
BENCHMARK_CAPTURE(bareEncrypt, fetched, zeb::openssl::aes256Cbc)->Arg(PASSWORD_SIZE);
BENCHMARK(setSecureString)->Arg(PASSWORD_SIZE);
BENCHMARK_CAPTURE(bareDecrypt, implicit, implicitCipher)->Arg(PASSWORD_SIZE);
BENCHMARK_CAPTURE(bareDecrypt, fetched, zeb::openssl::aes256Cbc)->Arg(PASSWORD_SIZE);
BENCHMARK(readSecureString)->Arg(PASSWORD_SIZE);
BENCHMARK(bareEncryptAndDecrypt)->Arg(PASSWORD_SIZE);
BENCHMARK(setAndReadSecureString)->Arg(PASSWORD_SIZE);
BENCHMARK_CAPTURE(wipe, ZEBZeroMemory, wipeByZEBZeroMemory)->Arg(64)->Arg(64 << 10);
BENCHMARK_CAPTURE(wipe, explicit_bzero, explicit_bzero)->Arg(64)->Arg(64 << 10);
BENCHMARK_CAPTURE(wipe, OPENSSL_cleanse, OPENSSL_cleanse)->Arg(64)->Arg(64 << 10);
BENCHMARK_CAPTURE(wipe, volatile_loop, wipeByVolatileLoop)->Arg(64)->Arg(64 << 10);

}  // namespace

BENCHMARK_MAIN();
