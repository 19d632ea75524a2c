#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "app/smart_redact_session.hpp"

namespace vantorel {

/// Scans that end when a test says so.
class FakeScans {
 public:
  struct Asked {
    PixelSize picture;
    double pixelsPerPoint = 1;
    VisualDetectors enabled;
    std::weak_ptr<void> scan;  ///< gone when it was given up
    std::move_only_function<void(SensitiveScans::Answer)> done;
  };
  std::vector<Asked> asked;

  ScanPicture scan() {
    return [this](const Image& picture, double pixelsPerPoint, VisualDetectors enabled,
                  std::move_only_function<void(SensitiveScans::Answer)> done) {
      auto handle = std::make_shared<int>(0);
      asked.push_back({picture.size(), pixelsPerPoint, enabled, handle, std::move(done)});
      return std::shared_ptr<void>(handle);
    };
  }

  [[nodiscard]] bool isUnderWay(std::size_t number) const {
    return !asked.at(number).scan.expired();
  }

  void answer(std::size_t number, std::vector<SmartRedact::Proposal> proposals,
              VisualDetectors unavailable = {}) {
    asked.at(number).done(
        SmartRedact::Outcome{std::move(proposals), unavailable, SmartRedact::Reading()});
  }
};

}  // namespace vantorel
