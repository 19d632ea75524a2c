#include "library/records/file_identity.hpp"

#include "base/path_text.hpp"

namespace vantorel {

template <class V, class S>
void FileIdentity::describe(V& v, S& identity) {
  v.required("volume", identity.volume, json::asPath);
  v.required("folder", identity.folder, json::asPath);
  v.field("file", identity.file);
  v.field("size", identity.size);
  v.field("modified", identity.modified);
  v.field("folderFile", identity.folderFile);
  v.rest(identity.extra);
}
VT_JSON_RECORD(FileIdentity)

}  // namespace vantorel
