#include "library/records/retention_agreement.hpp"

namespace vantorel {

template <class V, class S>
void RetentionAgreement::describe(V& v, S& agreement) {
  v.field("days", agreement.days);
  v.field("lookedAt", agreement.lookedAt);
  v.rest(agreement.extra);
}
VT_JSON_RECORD(RetentionAgreement)

}  // namespace vantorel
