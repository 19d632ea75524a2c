#pragma once

#include <string>
#include <string_view>

namespace vantorel {

/// How an X property says its bytes are text.
enum class XTextEncoding { latin1, utf8, compound };

/// UTF-8 of a text property. Of compound text the parts in Latin-1 and UTF-8 are read, others
/// become U+FFFD.
[[nodiscard]] std::string textOfProperty(std::string_view bytes, XTextEncoding encoding);

}  // namespace vantorel
