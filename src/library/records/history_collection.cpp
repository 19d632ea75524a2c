#include "library/records/history_collection.hpp"

namespace vantorel {

template <class V, class S>
void HistoryCollection::describe(V& v, S& collection) {
  v.required("id", collection.id);
  v.required("name", collection.name);
  v.requiredIfPresent("color", collection.color);
  v.field("note", collection.note);
  v.requiredIfPresent("sort", collection.sort);
  v.field("order", collection.order);
  v.field("createdAt", collection.createdAt);
  v.rest(collection.extra);
}
VT_JSON_RECORD(HistoryCollection)

}  // namespace vantorel
