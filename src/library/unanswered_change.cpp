#include "library/unanswered_change.hpp"

namespace vantorel {

std::string unansweredReason(const Failure& failure) {
  return failure.reason +
         ", so it isn't known yet what came of it; Vantorel looks again when the disk answers";
}

bool mayStillLand(double& until, double now) {
  // More than the whole time is left only when the wall clock was set back.
  if (until == 0 || until > now + landingSeconds) until = now + landingSeconds;
  return now < until;
}

}  // namespace vantorel
