#include "platform/file_mark.hpp"

#include "base/path_text.hpp"

namespace vantorel {

template <class V, class S>
void FileMark::describe(V& v, S& mark) {
  v.required("file", mark.file);
  v.required("size", mark.size);
  v.required("modified", mark.modified);
  v.field("volume", mark.volume, json::asPath);
  v.rest(mark.extra);
}
VT_JSON_RECORD(FileMark)

}  // namespace vantorel
