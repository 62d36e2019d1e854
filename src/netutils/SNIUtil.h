#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::netutils {

/// Finds the name that an edge server is to be asked for in the TLS handshake (RFC 6066) when the name it has
/// in DNS belongs to another domain than the edge's: "edge1.other.net" is known as "edge1.example.test"
/// within the edge domain "example.test". Holds the process's one edge domain. Any thread may call; nothing
/// throws unless memory runs out.
class ZEBNETUTILS_EXPORT SNIUtil {
public:
    SNIUtil() = delete;

    /// The domain that all operations below compare with; empty at first.
    static void setEdgeDomain(const std::string& domain);

    /// "srv" of "srv.example.test": the text before the first "."; empty when there is none.
    static std::string getHostName(const std::string& name);

    /// True when the last two labels of `domain` and of the edge domain are the same in whatever case. A name
    /// of fewer labels is compared whole.
    static bool matchedRootDomainWithEdgeDomain(const std::string& domain);
    /// The same, but false, with a warning, when either name is empty.
    static bool isMatchedWithEdgeDomain(const std::string& domain);

    /// `domain` itself when it lies in the edge domain, else its first label within the edge domain. Empty,
    /// with a warning, when either name is empty or `domain` has no first label.
    static std::string getServerNameForSNI(const std::string& domain);
};

}  // namespace zeb::netutils
