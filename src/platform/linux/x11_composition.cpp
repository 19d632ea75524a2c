#include "platform/linux/x11_composition.hpp"

#include <xcb/composite.h>
#include <xcb/render.h>
#include <xcb/xfixes.h>

#include <cstring>
#include <map>

namespace vantorel {
namespace {

std::map<xcb_visualid_t, xcb_render_pictformat_t> pictureFormats(X11Session& session) {
  std::map<xcb_visualid_t, xcb_render_pictformat_t> formats;
  xcb_connection_t* c = session.connection();
  const auto reply =
      xReply<xcb_render_query_pict_formats_reply>(c, xcb_render_query_pict_formats(c));
  if (!reply) return formats;
  for (auto screen = xcb_render_query_pict_formats_screens_iterator(reply.get()); screen.rem != 0;
       xcb_render_pictscreen_next(&screen)) {
    for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem != 0;
         xcb_render_pictdepth_next(&depth)) {
      for (auto visual = xcb_render_pictdepth_visuals_iterator(depth.data); visual.rem != 0;
           xcb_render_pictvisual_next(&visual)) {
        formats[visual.data->visual] = visual.data->format;
      }
    }
  }
  return formats;
}

/// A picture on the server that windows are drawn into; freed with its pixmap.
class Canvas {
 public:
  Canvas(X11Session& session, const PixelRect& area)
      : session_(session),
        c_(session.connection()),
        area_(area),
        formats_(pictureFormats(session)),
        pixmap_(xcb_generate_id(c_)),
        picture_(xcb_generate_id(c_)) {
    const xcb_screen_t& screen = session.screen();
    xcb_create_pixmap(c_, screen.root_depth, pixmap_, screen.root,
                      static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height));
    xcb_render_create_picture(c_, picture_, pixmap_, formats_[screen.root_visual], 0, nullptr);
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  ~Canvas() {
    xcb_render_free_picture(c_, picture_);
    xcb_free_pixmap(c_, pixmap_);
  }

  [[nodiscard]] xcb_pixmap_t pixmap() const { return pixmap_; }

  /// What is seen where no window is. A compositor draws the wallpaper that the desktop names, or
  /// something of its own; a bare place tells which.
  void drawGround(const std::optional<PixelPoint>& bare) {
    const auto wallpaper = findWallpaper();
    std::optional<std::uint32_t> seen;
    if (bare && session_.hasCompositor()) seen = pixelAt(session_.screen().root, *bare);
    if (wallpaper && seen) {
      const PixelPoint there{bare->x % wallpaper->size.width, bare->y % wallpaper->size.height};
      if (pixelAt(wallpaper->pixmap, there) != seen) return fill(*seen);
    }
    if (wallpaper) {
      return draw(wallpaper->pixmap, session_.screen().root_visual,
                  {0, 0, area_.right(), area_.bottom()}, true);
    }
    if (seen) return fill(*seen);
    drawRootBackground();
  }

  void drawWindow(const XTopLevel& window) {
    if (!formats_.contains(window.visual)) return;
    const auto content = xcb_generate_id(c_);
    xcb_composite_name_window_pixmap(c_, window.id, content);
    xcb_xfixes_region_t shape = XCB_NONE;
    if (session_.hasFixes()) {
      shape = xcb_generate_id(c_);
      xcb_xfixes_create_region_from_window(c_, shape, window.id, 0);
      xcb_xfixes_set_picture_clip_region(
          c_, picture_, shape, static_cast<std::int16_t>(window.outer.x + window.border - area_.x),
          static_cast<std::int16_t>(window.outer.y + window.border - area_.y));
    }
    draw(content, window.visual, window.outer, window.depth != 32);
    if (shape != XCB_NONE) {
      xcb_xfixes_set_picture_clip_region(c_, picture_, XCB_NONE, 0, 0);
      xcb_xfixes_destroy_region(c_, shape);
    }
    xcb_free_pixmap(c_, content);
  }

 private:
  struct Wallpaper {
    xcb_pixmap_t pixmap = 0;
    PixelSize size;
  };

  [[nodiscard]] std::optional<Wallpaper> findWallpaper() const {
    const xcb_screen_t& screen = session_.screen();
    const auto property = xReply<xcb_get_property_reply>(
        c_, xcb_get_property(c_, 0, screen.root, session_.atom(XAtom::rootPixmap), XCB_ATOM_PIXMAP,
                             0, 1));
    const auto pixmap = words(property.get());
    if (pixmap.empty()) return std::nullopt;
    const auto size = xReply<xcb_get_geometry_reply>(c_, xcb_get_geometry(c_, pixmap[0]));
    if (!size || size->depth != screen.root_depth) return std::nullopt;
    return Wallpaper{pixmap[0], {size->width, size->height}};
  }

  /// The bits of a colour, as the root window's depth has them.
  [[nodiscard]] std::optional<std::uint32_t> pixelAt(xcb_drawable_t drawable,
                                                     const PixelPoint& at) const {
    const auto image = xReply<xcb_get_image_reply>(
        c_, xcb_get_image(c_, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<std::int16_t>(at.x),
                          static_cast<std::int16_t>(at.y), 1, 1, ~0U));
    std::uint32_t pixel = 0;
    if (!image || xcb_get_image_data_length(image.get()) < static_cast<int>(sizeof pixel)) {
      return std::nullopt;
    }
    std::memcpy(&pixel, xcb_get_image_data(image.get()), sizeof pixel);
    const unsigned depth = session_.screen().root_depth;
    return depth < 32 ? pixel & ((1U << depth) - 1) : pixel;
  }

  void fill(std::uint32_t pixel) {
    const auto context = xcb_generate_id(c_);
    xcb_create_gc(c_, context, pixmap_, XCB_GC_FOREGROUND, &pixel);
    const xcb_rectangle_t all{0, 0, static_cast<std::uint16_t>(area_.width),
                              static_cast<std::uint16_t>(area_.height)};
    xcb_poly_fill_rectangle(c_, pixmap_, context, 1, &all);
    xcb_free_gc(c_, context);
  }

  /// `source`'s corner lies at that of `place` on the root window; it is repeated as needed.
  void draw(xcb_pixmap_t source, xcb_visualid_t visual, const PixelRect& place, bool isOpaque) {
    const PixelRect part = intersection(place, area_);
    if (part.isEmpty()) return;
    const auto picture = xcb_generate_id(c_);
    const std::uint32_t repeat[] = {XCB_RENDER_REPEAT_NORMAL};
    xcb_render_create_picture(c_, picture, source, formats_[visual], XCB_RENDER_CP_REPEAT, repeat);
    xcb_render_composite(
        c_, isOpaque ? XCB_RENDER_PICT_OP_SRC : XCB_RENDER_PICT_OP_OVER, picture, XCB_NONE,
        picture_, static_cast<std::int16_t>(part.x - place.x),
        static_cast<std::int16_t>(part.y - place.y), 0, 0,
        static_cast<std::int16_t>(part.x - area_.x), static_cast<std::int16_t>(part.y - area_.y),
        static_cast<std::uint16_t>(part.width), static_cast<std::uint16_t>(part.height));
    xcb_render_free_picture(c_, picture);
  }

  /// The root window keeps nothing behind other windows. A window of ours with its background,
  /// drawn by the server into memory and not onto the screen, shows what would be there. It begins
  /// as a copy of the screen with all that is on it, and stays that where the root window has no
  /// background at all: so it is blackened first.
  void drawRootBackground() {
    const xcb_screen_t& screen = session_.screen();
    const auto window = xcb_generate_id(c_);
    const std::uint32_t values[] = {screen.black_pixel, 1};
    xcb_create_window(c_, screen.root_depth, window, screen.root,
                      static_cast<std::int16_t>(area_.x), static_cast<std::int16_t>(area_.y),
                      static_cast<std::uint16_t>(area_.width),
                      static_cast<std::uint16_t>(area_.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen.root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    const std::uint32_t below[] = {XCB_STACK_MODE_BELOW};
    xcb_configure_window(c_, window, XCB_CONFIG_WINDOW_STACK_MODE, below);
    xcb_composite_redirect_window(c_, window, XCB_COMPOSITE_REDIRECT_MANUAL);
    xcb_map_window(c_, window);
    const std::uint32_t background[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE};
    xcb_change_window_attributes(c_, window, XCB_CW_BACK_PIXMAP, background);
    xcb_clear_area(c_, 0, window, 0, 0, 0, 0);
    const auto content = xcb_generate_id(c_);
    xcb_composite_name_window_pixmap(c_, window, content);
    draw(content, screen.root_visual, area_, true);
    xcb_free_pixmap(c_, content);
    xcb_destroy_window(c_, window);
  }

  X11Session& session_;
  xcb_connection_t* c_;
  PixelRect area_;
  std::map<xcb_visualid_t, xcb_render_pictformat_t> formats_;
  xcb_pixmap_t pixmap_;
  xcb_render_picture_t picture_;
};

}  // namespace

Result<void> composeScreen(X11Session& session, const std::vector<XTopLevel>& windows,
                           const std::optional<PixelPoint>& bare, const PixelRect& area,
                           const PixelBuffer& buffer, int x, int y) {
  Canvas canvas(session, area);
  canvas.drawGround(bare);
  for (const XTopLevel& window : windows) {
    if (window.isViewable && !intersection(window.outer, area).isEmpty()) canvas.drawWindow(window);
  }
  return session.pixels().read(canvas.pixmap(), {0, 0, area.width, area.height},
                               session.screen().root_depth, session.screen().root_visual, buffer, x,
                               y);
}

}  // namespace vantorel
