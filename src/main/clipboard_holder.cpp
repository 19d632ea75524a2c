#include "main/clipboard_holder.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string>

#include "main/ui_module.hpp"

namespace vantorel {

void holdClipboard() {
  std::string png(std::istreambuf_iterator<char>(std::cin), {});
  // Whoever sends it may be killed meanwhile.
  constexpr std::string_view lastChunk("IEND\xAE\x42\x60\x82", 8);
  if (!png.ends_with(lastChunk)) std::_Exit(1);
  auto loaded = loadDesktopUi();
  if (!loaded) std::_Exit(1);
  DesktopUi& ui = **loaded;
  ui.clipboard().whenLost([&ui] { ui.quit(0); });
  ui.mainRunner()->post([&ui, png = std::move(png)]() mutable {
    ui.clipboard().setImage(std::move(png), [&ui](const Result<void>& set) {
      if (!set) return ui.quit(1);
      const bool told = ::write(STDOUT_FILENO, "!", 1) == 1;
      // Whoever waits for the end of the pipe shall not wait for this process.
      const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
      ::dup2(nothing, STDIN_FILENO);
      ::dup2(nothing, STDOUT_FILENO);
      if (!told) ui.quit(1);
    });
  });
  std::_Exit(ui.run());
}

}  // namespace vantorel
