#pragma once

#include <cstdint>

#include "base/json_record.hpp"
#include "library/records/retention_policy.hpp"

namespace vantorel {

/// What the user has answered, in this library, to the question whether captures may go by age.
struct RetentionAgreement {
  std::int64_t days = 0;  ///< the age agreed to; 0 when none was
  double lookedAt = 0;    ///< when it was last looked what had reached it; seconds since 1970
  json::Object extra;

  [[nodiscard]] RetentionPolicy policy() const { return retentionOfDays(days); }

  bool operator==(const RetentionAgreement&) const = default;
  template <class V, class S>
  static void describe(V& v, S& agreement);
};
VT_JSON_RECORD_DECLARATION(RetentionAgreement);

}  // namespace vantorel
