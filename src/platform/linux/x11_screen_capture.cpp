#include "platform/linux/x11_screen_capture.hpp"

#include "platform/linux/x11_grab.hpp"
#include "platform/linux/x11_windows.hpp"

namespace vantorel {
namespace {

/// Runs `work` with the session on the worker and hands what it answers to `reply` on `main`.
template <class Value, class Work, class Reply>
void askWorker(X11Worker& worker, std::shared_ptr<TaskRunner> main, Work work, Reply reply) {
  worker.post([main = std::move(main), work = std::move(work),
               reply = std::move(reply)](Result<X11Client*> client) mutable {
    auto answer = client ? work(static_cast<X11Session&>(**client))
                         : Result<Value>(std::unexpected(std::move(client).error()));
    main->post([reply = std::move(reply), answer = std::move(answer)]() mutable {
      reply(std::move(answer));
    });
  });
}

}  // namespace

std::shared_ptr<X11Worker> makeCaptureWorker(std::string display, WindowContents contents) {
  return std::make_shared<X11Worker>(std::move(display),
                                     [contents](xcb_connection_t* connection, int screen) {
                                       return X11Session::make(connection, screen, contents);
                                     });
}

X11ScreenCapture::X11ScreenCapture(std::shared_ptr<X11Worker> worker,
                                   std::shared_ptr<TaskRunner> main)
    : worker_(std::move(worker)), main_(std::move(main)) {}

void X11ScreenCapture::displays(Reply<std::vector<DisplaySnapshot>> reply) {
  askWorker<std::vector<DisplaySnapshot>>(
      *worker_, main_,
      [](X11Session& session) -> Result<std::vector<DisplaySnapshot>> {
        std::vector<DisplaySnapshot> displays;
        for (XMonitor& monitor : VT_TRY(session.monitors())) {
          displays.push_back(std::move(monitor.display));
        }
        return displays;
      },
      lifetime_.guard(std::move(reply)));
}

void X11ScreenCapture::grab(GrabRequest request, Reply<GrabbedPicture> reply) {
  askWorker<GrabbedPicture>(
      *worker_, main_,
      [request = std::move(request)](X11Session& session) {
        return grabFromScreen(session, request);
      },
      lifetime_.guard(std::move(reply)));
}

void X11ScreenCapture::onDisplaysChange(std::function<void()> listener) {
  displaysListener_ = std::move(listener);
  auto notify = lifetime_.guard([this] {
    if (displaysListener_) displaysListener_();
  });
  worker_->post([main = main_, notify = std::move(notify)](Result<X11Client*> client) {
    if (!client) return;
    static_cast<X11Session&>(**client).onMonitorsChange(
        [main, notify] { main->post(Task(notify)); });
  });
}

void X11ScreenCapture::permission(std::move_only_function<void(ScreenPermission)> reply) {
  main_->post(
      lifetime_.guard([reply = std::move(reply)]() mutable { reply(ScreenPermission::granted); }));
}

void X11ScreenCapture::requestPermission(std::move_only_function<void(ScreenPermission)> reply) {
  permission(std::move(reply));
}

X11WindowList::X11WindowList(std::shared_ptr<X11Worker> worker, std::shared_ptr<TaskRunner> main)
    : worker_(std::move(worker)), main_(std::move(main)) {}

void X11WindowList::windows(
    std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) {
  askWorker<std::vector<WindowSnapshot>>(
      *worker_, main_, [](X11Session& session) { return listWindows(session); },
      lifetime_.guard(std::move(reply)));
}

}  // namespace vantorel
