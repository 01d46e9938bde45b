// The tool's standard output and standard error, and the line that shows that an action lives.
#pragma once
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

namespace agent_tool {

enum class Style : std::uint8_t { plain, bold, faint, good, waiting, bad };

/// Standard output could not be written: its reader has gone, the disk is full.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Writes at once, nothing is kept back. What several threads write comes out whole, and the
/// activity line, which is shown on a terminal only, is out of the way of it.
class Console {
 public:
  /// Looks at the standard descriptors and the environment (NO_COLOR, TERM).
  Console();
  ~Console() = default;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// Writes to standard output. Throws `OutputError`.
  void write(std::string_view text);
  /// Writes "vexlo-patch: <text>" and a line feed to standard error.
  void complain(std::string_view text);
  /// Calls `writeOther`, which writes to standard error by itself.
  void beside(const std::function<void()>& writeOther);

  /// `text` in the style's colours when standard output is a terminal that people want coloured.
  [[nodiscard]] std::string styled(std::string_view text, Style style) const;
  /// Columns of the terminal that standard output is; without limit for anything else.
  [[nodiscard]] std::size_t width() const noexcept { return width_; }

  /// Whether standard output is a terminal.
  [[nodiscard]] bool isTerminal() const noexcept { return isTerminal_; }

  /// The descriptor on which activity is shown; -1 when there is no terminal for it.
  [[nodiscard]] int activityDescriptor() const noexcept { return activityDescriptor_; }

  /// While it lives, a terminal shows `text` (a printable one) with the seconds gone by.
  class Activity {
   public:
    Activity(Console& console, std::string text);
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;
    ~Activity();

   private:
    void show(const std::string& text);

    Console& console_;
    std::condition_variable hasEnded_;
    bool ended_ = false;  // under the console's mutex
    std::thread thread_;  // last: it uses the others
  };

 private:
  void eraseActivity();

  std::mutex mutex_;
  std::size_t width_;
  bool isTerminal_;
  bool coloured_;
  int activityDescriptor_;
  bool activityIsShown_ = false;
};

}  // namespace agent_tool
