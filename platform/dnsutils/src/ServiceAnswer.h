#pragma once

#include "dnsutils/ServiceResourceRecord.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace zeb::dns {

/// Reads the service records of a DNS answer as it came (RFC 1035, RFC 2782), with their times to live, which
/// c-ares's own reader leaves out. Records of other types are skipped, and so is one with the target ".".
/// Nothing for an answer that ends too early, or is otherwise no DNS message. Never reads beyond `size`
/// bytes.
std::optional<std::vector<ServiceResourceRecord>> readServiceAnswer(const unsigned char* answer,
                                                                    std::size_t size);

}  // namespace zeb::dns
