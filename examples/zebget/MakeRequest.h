#pragma once

#include <memory>
#include <string>

namespace zeb::http {
class Request;
}

namespace zebget {

struct Arguments;

/// What the user asked for, of that URL.
std::shared_ptr<zeb::http::Request> makeRequest(const Arguments& arguments, const std::string& url);

}  // namespace zebget
