// The tool's standard output and standard error, the activity line, and exit statuses.
#pragma once
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace agent_tool {

enum class ExitStatus : std::uint8_t {
  success = 0,
  failure = 1,        ///< An action failed, or the tool itself did.
  badLines = 2,       ///< Some lines of facts are unreadable; the others were evaluated.
  badUsage = 64,      ///< The command line is invalid.
  unusableFile = 65,  ///< The action file is unusable.
  noMemory = 71,      ///< The tool didn't get the memory that it needed.
  applyLater = 75,    ///< An action has to be applied later; none failed.
};

/// With the codes of the terminal's control sequences: good is green, waiting yellow, bad red.
enum class Style : std::uint8_t {
  plain = 0,
  bold = 1,
  faint = 2,
  bad = 31,
  good = 32,
  waiting = 33
};

/// Unbuffered. Writes of several threads don't mix, and the activity line, which is shown only on a
/// terminal, is cleared before other output.
class Console {
 public:
  /// Depends on the standard descriptors and the environment (NO_COLOR, TERM).
  Console();

  /// Writes to standard output. Throws `std::runtime_error`, for example if the disk is full.
  void write(std::string_view text);
  /// Writes "vexlo-patch: <text>" and a line feed to standard error.
  void reportError(std::string_view text);
  /// Calls `writeOther`, which writes to standard error directly.
  void withActivityCleared(const std::function<void()>& writeOther);

  /// `text` in the style's colours if standard output is a terminal and colours are wanted.
  [[nodiscard]] std::string styled(std::string_view text, Style style) const;
  /// The width of the terminal on standard output; unlimited for anything else.
  [[nodiscard]] std::size_t width() const noexcept { return width_; }

  /// Whether standard output is a terminal.
  [[nodiscard]] bool isTerminal() const noexcept { return isTerminal_; }

  /// The terminal that shows activity; -1 if there is none.
  [[nodiscard]] int activityDescriptor() const noexcept { return activityDescriptor_; }

  /// Shows a status line with the elapsed time on a terminal, for its lifetime.
  class Activity {
   public:
    /// `text` returns printable text. It is called on another thread whenever the line is drawn,
    /// and must not use the console.
    Activity(Console& console, std::function<std::string()> text);
    ~Activity();
    /// Shows `progress`, which must be printable, between the text and the time.
    void show(std::string progress);

   private:
    void keepShowing(const std::function<std::string()>& text);

    Console& console_;
    std::condition_variable hasEnded_;
    bool ended_ = false;    // guarded by the console's mutex
    std::string progress_;  // likewise
    std::thread thread_;    // last, because it uses the others
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
