#pragma once

#include "capture/staging_folder.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

struct SpoolRecoveryOptions {
  double now = 0;  ///< seconds since 1970-01-01 UTC

  /// Nothing of them may be published before it has been looked through, also where the session
  /// did not say so.
  bool redacts = false;
};

/// Stages the pictures of scrolling sessions whose process has ended without filing them, from
/// what `ScrollingSpool` kept in a folder of `sessions` each, and then removes those folders. One
/// whose process lives is left alone; one that can't be staged now stays. Of damaged ones what can
/// be read is staged, with what is missing in between left black.
///
/// Blocks, for seconds where there is a tall one; holds one picture at a time, as its making did.
void recoverScrollingSpools(Files& files, const ImageCodec& codec, const Path& sessions,
                            StagingFolder& staging, const SpoolRecoveryOptions& options);

}  // namespace vantorel
