#pragma once

#include <xcb/xcb.h>

#include <functional>
#include <memory>
#include <set>
#include <utility>

#include "platform/linux/x11_surroundings.hpp"
#include "platform/linux/x11_window_painter.hpp"
#include "platform/native_windows.hpp"

namespace vantorel {

/// Windows of the toolkit on an X server, over the toolkit's own connection.
class X11NativeWindows final : public NativeWindows {
 public:
  X11NativeWindows(xcb_connection_t* connection, std::shared_ptr<TaskRunner> main);

  void floatAboveAll(WindowID window, FloatingInput input) override;
  void coverDisplay(WindowID window, PixelPoint at) override;
  void uncoverDisplay(WindowID window) override;
  [[nodiscard]] bool paint(WindowID window, const std::vector<PixelRect>& areas,
                           const PaintBand& paint) override {
    return painter_.paint(static_cast<xcb_window_t>(window), areas, paint);
  }
  void setInputArea(WindowID window, const PixelRect& area) override;
  void coverDesktop(WindowID window) override;
  [[nodiscard]] bool needsGrabs() const override { return true; }
  [[nodiscard]] bool canBeTransparent() const override;
  [[nodiscard]] bool hasEmbeddingTray() const override;
  [[nodiscard]] bool isAnythingPressed() const override;
  [[nodiscard]] Observation observePresses(std::function<void(WindowID)> pressed) override {
    return surroundings().observePresses(std::move(pressed));
  }
  [[nodiscard]] DesktopLook look() const override;
  [[nodiscard]] Observation observeLook(std::function<void(const DesktopLook&)> changed) override {
    return surroundings().observeLook(std::move(changed));
  }
  [[nodiscard]] std::uint32_t plainSymbol(std::uint32_t hardwareKey) const override;
  [[nodiscard]] std::optional<PixelPoint> pointer() const override;
  void movePointer(PixelPoint to) override;
  [[nodiscard]] Image wallpaper() const override;
  void sync() override;
  void whenShown(Task then) override;

 private:
  [[nodiscard]] xcb_atom_t atom(std::string_view name) const;
  [[nodiscard]] bool isOwned(std::string_view selection) const;
  [[nodiscard]] bool hasWindowManager() const;
  [[nodiscard]] X11Surroundings& surroundings();

  xcb_connection_t* c_;
  xcb_window_t root_;
  X11WindowPainter painter_{c_};
  std::set<xcb_window_t> covering_;  // children of the server's overlay window
  std::shared_ptr<TaskRunner> main_;
  std::unique_ptr<X11Surroundings> surroundings_;  // from the first who wants to hear of them
};

/// The X server that DISPLAY names.
class X11DisplayServer final : public DisplayServer {
 public:
  [[nodiscard]] bool answers() override;
  [[nodiscard]] std::shared_ptr<NativeWindows> nativeWindows(
      ToolkitConnection connection, std::shared_ptr<TaskRunner> main) override;
};

}  // namespace vantorel
