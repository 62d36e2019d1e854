#pragma once

#include <memory>

namespace zeb::http {
class Request;
}

namespace zebget {

struct Arguments;

/// The request that the user asked for.
std::shared_ptr<zeb::http::Request> makeRequest(const Arguments& arguments);

}  // namespace zebget
