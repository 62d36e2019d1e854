#pragma once

#include "core/Export.h"

#include <string>
#include <vector>

namespace zeb {

/// Small operations on texts of single-byte characters. Without state; any thread, as long as nobody changes
/// the C locale meanwhile.
class ZEBNETUTILS_EXPORT StringExtension {
public:
    StringExtension() = delete;

    static std::string stringToLower(const std::string& text);
    static std::string stringToUpper(std::string text);

    /// The pieces between the separators, empty ones too: one more than there are separators. An empty
    /// separator separates nothing: the whole text is the one piece.
    static std::vector<std::string> split(const std::string& text, const std::string& separator);

    /// As split(), ordered by length. Pieces of equal length keep their order.
    static std::vector<std::string> splitAndSortByLength(const std::string& text,
                                                         const std::string& separator, bool longestFirst);

    /// Whether the text behind the path's last '.' is `extension`, which is given without the '.'. Upper and
    /// lower case differ. Without a '.' there is no extension, not even an empty one.
    static bool hasPathExtension(const std::string& path, const std::string& extension);

    static bool hasPrefix(const std::string& text, const std::string& prefix);
};

}  // namespace zeb
