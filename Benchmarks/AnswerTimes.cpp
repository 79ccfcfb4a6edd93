// Asks a window over and over whether it is alive, as a window manager does, and tells how long the answers took.
// Usage: pellora-answer-times WINDOW SECONDS (the window's number, in any base). Prints
// "answers N, middle M ms, worst W ms". Exit codes: 0 done, 1 no answer for ten seconds or no display, 2 wrong usage.
#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPause(25);
constexpr std::chrono::seconds kPatience(10);

xcb_atom_t atomNamed(xcb_connection_t* display, std::string_view name) {
  const xcb_intern_atom_cookie_t cookie =
      xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const std::unique_ptr<xcb_intern_atom_reply_t, void (*)(void*)> reply(xcb_intern_atom_reply(display, cookie, nullptr),
                                                                        std::free);
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

class Window {
 public:
  Window(xcb_connection_t* display, xcb_window_t window)
      : _display(display),
        _window(window),
        _root(xcb_setup_roots_iterator(xcb_get_setup(display)).data->root),
        _protocols(atomNamed(display, "WM_PROTOCOLS")),
        _ping(atomNamed(display, "_NET_WM_PING")) {
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(display, _root, XCB_CW_EVENT_MASK, &mask);
  }

  // Whether the answer came in time.
  bool answers(std::uint32_t question) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = _window;
    event.type = _protocols;
    event.data.data32[0] = _ping;
    event.data.data32[1] = question;
    event.data.data32[2] = _window;
    xcb_send_event(_display, 0, _window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    xcb_flush(_display);
    const Clock::time_point end = Clock::now() + kPatience;
    while (Clock::now() < end && xcb_connection_has_error(_display) == 0) {
      pollfd readable{xcb_get_file_descriptor(_display), POLLIN, 0};
      while (xcb_generic_event_t* arrived = xcb_poll_for_event(_display)) {
        const std::unique_ptr<xcb_generic_event_t, void (*)(void*)> owned(arrived, std::free);
        if (isAnswer(*arrived, question)) return true;
      }
      poll(&readable, 1, 100);
    }
    return false;
  }

 private:
  bool isAnswer(const xcb_generic_event_t& event, std::uint32_t question) const {
    if ((event.response_type & 0x7F) != XCB_CLIENT_MESSAGE) return false;
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    return message.type == _protocols && message.data.data32[0] == _ping && message.data.data32[1] == question;
  }

  xcb_connection_t* _display;
  xcb_window_t _window;
  xcb_window_t _root;
  xcb_atom_t _protocols;
  xcb_atom_t _ping;
};

}  // namespace

int main(int argc, char** argv) {
  const unsigned long number = argc == 3 ? std::strtoul(argv[1], nullptr, 0) : 0;
  const double seconds = argc == 3 ? std::strtod(argv[2], nullptr) : 0;
  if (number == 0 || seconds <= 0) {
    std::fputs("Usage: pellora-answer-times WINDOW SECONDS\n", stderr);
    return 2;
  }
  const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> display(xcb_connect(nullptr, nullptr),
                                                                               xcb_disconnect);
  if (xcb_connection_has_error(display.get()) != 0) {
    std::fputs("There is no display.\n", stderr);
    return 1;
  }
  Window window(display.get(), static_cast<xcb_window_t>(number));
  std::vector<double> times;  // milliseconds
  const Clock::time_point end =
      Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  for (std::uint32_t question = 1; Clock::now() < end; ++question) {
    const Clock::time_point asked = Clock::now();
    if (!window.answers(question)) {
      std::fputs("The window does not answer.\n", stderr);
      return 1;
    }
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - asked).count());
    std::this_thread::sleep_for(kPause);
  }
  std::sort(times.begin(), times.end());
  std::printf("answers %zu, middle %.1f ms, worst %.1f ms\n", times.size(), times[times.size() / 2], times.back());
  return 0;
}
