#include "base/check.hpp"

#include <cstdio>
#include <cstdlib>

namespace vantorel {

void checkFailed(const char* condition, std::source_location where) {
  std::fprintf(stderr, "vantorel: %s:%u: %s does not hold\n", where.file_name(), where.line(),
               condition);
  std::abort();
}

}  // namespace vantorel
