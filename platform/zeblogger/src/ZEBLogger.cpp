#include "zeblogger/ZEBLogger.h"

#include <array>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_color_sinks.h>

namespace {

using SinkPtr = std::shared_ptr<const LogController::Sink>;

spdlog::level::level_enum toSpdlog(int level) {
    switch (level) {
        case ZEBLOG_ERROR:
            return spdlog::level::err;
        case ZEBLOG_WARNING:
            return spdlog::level::warn;
        case ZEBLOG_INFO:
            return spdlog::level::info;
        case ZEBLOG_DEBUG:
            return spdlog::level::debug;
        default:
            return level < ZEBLOG_ERROR ? spdlog::level::critical : spdlog::level::trace;
    }
}

}  // namespace

struct ZEBLogger {
    ZEBLogger(std::string loggerName, spdlog::sink_ptr sink, int initialLevel)
        : name(std::move(loggerName)), standard(name, std::move(sink)), level(initialLevel) {
        standard.set_level(spdlog::level::trace);
    }

    const std::string name;
    spdlog::logger standard;  ///< writes to standard error
    std::atomic<int> level;
};

namespace {

/// Never destroyed: static destructors of the host may still log.
struct Registry {
    std::mutex mutex;  ///< guards loggers; level is written under it, too
    std::map<std::string, ZEBLogger*> loggers;
    std::atomic<int> level{ZEBLOG_WARNING};
    spdlog::sink_ptr standardError;
    SinkPtr hostSink;  ///< by std::atomic_load and std::atomic_store only

    Registry() : standardError(std::make_shared<spdlog::sinks::stderr_color_sink_mt>()) {
        standardError->set_pattern("%Y-%m-%d %H:%M:%S.%e %^%L%$ [%n] %v");
    }
};

Registry& registry() {
    static auto* const instance = new Registry;
    return *instance;
}

ZEBLogger* loggerLocked(Registry& all, const std::string& name) {
    ZEBLogger*& slot = all.loggers[name];
    if (slot == nullptr) {
        slot = new ZEBLogger(name, all.standardError, all.level);
    }
    return slot;
}

using PiiKey = std::array<unsigned char, 32>;

const PiiKey& piiKey() {
    static const PiiKey key = [] {
        PiiKey fresh{};
        if (RAND_bytes(fresh.data(), static_cast<int>(fresh.size())) != 1) {
            // Without randomness the digest could be reversed by trying names: hide the text altogether.
            fresh.fill(0);
        }
        return fresh;
    }();
    return key;
}

}  // namespace

ZEBLogger* ZEBLogger_getLogger(const char* name) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return loggerLocked(all, name == nullptr ? std::string() : std::string(name));
}

bool ZEBLog_isEnabled(const ZEBLogger* logger, int level) {
    return logger != nullptr && level <= logger->level.load(std::memory_order_relaxed);
}

bool ZEBLog_isDebugEnabled(const ZEBLogger* logger) {
    return ZEBLog_isEnabled(logger, ZEBLOG_DEBUG);
}

bool ZEBLog_isTraceEnabled(const ZEBLogger* logger) {
    return ZEBLog_isEnabled(logger, ZEBLOG_TRACE);
}

void ZEBLog(ZEBLogger* logger, int level, const char* file, int line, std::string_view message) {
    if (!ZEBLog_isEnabled(logger, level)) {
        return;
    }
    try {
        if (const SinkPtr sink = std::atomic_load(&registry().hostSink)) {
            (*sink)({logger->name, level, file, line, message});
        } else {
            logger->standard.log(spdlog::source_loc{}, toSpdlog(level),
                                 spdlog::string_view_t(message.data(), message.size()));
        }
    } catch (...) {  // a log line is not worth the host's process
    }
}

std::string ZEBLogger_replacePIIData(const std::string& text) {
    static constexpr std::size_t SHOWN_BYTES = 6;
    const PiiKey& key = piiKey();
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (key == PiiKey{} || HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
                                reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                                digest.data(), &length) == nullptr) {
        return "<hidden>";
    }
    static constexpr char HEX[] = "0123456789abcdef";
    std::string shown = "<";
    for (std::size_t i = 0; i < SHOWN_BYTES; ++i) {
        shown += HEX[digest[i] >> 4U];
        shown += HEX[digest[i] & 0x0FU];
    }
    return shown += '>';
}

void ZEBLogger_flush() {
    try {
        registry().standardError->flush();
    } catch (...) {  // nothing to be done about a closed standard error
    }
}

std::shared_ptr<LogController> LogController::getInstance() {
    // Never destroyed, as the registry.
    static const auto& instance = *new std::shared_ptr<LogController>(new LogController);
    return instance;
}

void LogController::setLevel(int level) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.level = level;
    for (const auto& entry : all.loggers) {
        entry.second->level = level;
    }
}

void LogController::setLevel(const std::string& logger, int level) {
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    loggerLocked(all, logger)->level = level;
}

int LogController::getLevel() const {
    return registry().level;
}

void LogController::setSink(Sink sink) {
    SinkPtr replacement = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
    std::atomic_store(&registry().hostSink, std::move(replacement));
}
