#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Commands/ActionFile.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Console/LineReader.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Fleet/FleetSummary.h"
#include "AgentTool/Fleet/WhatIf.h"
#include "Platform/Descriptor.h"
#include "Platform/Files.h"

namespace agent_tool {
namespace {

using FileCodec::JSONObject;
using LogCore::text;

constexpr std::size_t kLongestSummary = std::size_t{64} << 20;
constexpr std::uint64_t kReportedLines = 10;  // of the bad ones of a file
constexpr std::chrono::seconds kWaitForReader{1};
constexpr std::size_t kOutputBytes = std::size_t{64} * 1024;

/// The total size of the files; absent if one is not a regular file.
std::optional<std::uint64_t> bytesIn(const std::vector<std::string>& files) {
  std::uint64_t total = 0;
  for (const std::string& file : files) {
    std::error_code error;
    total += std::filesystem::file_size(file == kStandardInputName ? "/dev/stdin" : file, error);
    if (error) {
      return std::nullopt;
    }
  }
  return total;
}

std::optional<std::string_view> unlessEmpty(std::optional<std::string_view> text) {
  return text == "" ? std::nullopt : text;
}

void addPrediction(JSONObject& line, const MachinePrediction& prediction) {
  const FleetPrediction& counted = prediction.counted;
  line.addString("outcome", nameOf(counted.outcome))
      .addString("code", unlessEmpty(counted.code))
      .addString("action", unlessEmpty(actionNameOf(counted)))
      .addString("reason", counted.reason)
      .addString("next", unlessEmpty(prediction.next))
      .addJSON("measured", prediction.measured)
      .addJSON("acted", asJSON(counted.acted));
}

/// Evaluates all lines of all files.
class FleetEvaluation {
 public:
  FleetEvaluation(const WhatIfRequest& request, const ActionFile& file,
                  const ActionFile& fileBefore, Console& console)
      : request_(request),
        console_(console),
        whatIf_(request.patch(), file),
        totalBytes_(bytesIn(request.factsFiles)) {
    if (fileBefore) {
      before_.emplace(request.patch(), fileBefore);
    }
    summary_ =
        FleetSummary({.patchID = request.patchID,
                      .productID = request.productID,
                      .servicePackID = request.servicePackID,
                      .actions = whatIf_.actions(),
                      .actionsBefore = before_ ? std::optional(before_->actions()) : std::nullopt});
  }

  void readAll() {
    const Console::Activity activity(console_, [this] { return progress(); });
    for (const std::string& file : request_.factsFiles) {
      try {
        read(file);
      } catch (const std::system_error& error) {
        report(error.what());
        allWereRead_ = false;
      }
    }
    flush();
  }

  [[nodiscard]] const FleetSummary& summary() const noexcept { return summary_; }
  [[nodiscard]] bool allWereRead() const noexcept { return allWereRead_; }

 private:
  void read(const std::string& file) {
    LineReader input(file, kLongestFactsLine, [this] { flush(); });
    const std::string place = request_.factsFiles.size() > 1 ? input.name() + ":" : std::string();
    const std::uint64_t bytesBefore = bytes_;
    bool isFirst = true;
    std::uint64_t badLines = 0;
    const auto reject = [&](std::uint64_t line, std::string_view why) {
      summary_.addBadLines(1);
      if (++badLines <= kReportedLines) {
        report(text(input.name(), ":", line, ": ", why));
      } else if (badLines == kReportedLines + 1) {
        report(text(input.name(), ": further bad lines are only counted"));
      }
    };
    while (const auto line = input.next()) {
      if (std::exchange(isFirst, false)) {
        if (const std::string_view format = otherFormat(line->text); !format.empty()) {
          report(text(input.name(), ": expected lines of facts, found ", format));
          allWereRead_ = false;
          return;
        }
      }
      if (line->isTooLong) {
        reject(line->number, text("expected a line of at most ", kLongestFactsLine, " bytes"));
      } else if (const auto facts = reader_.read(line->text)) {
        predict(**facts, place, line->number);
      } else {
        reject(line->number, facts.error().what());
      }
      bytes_ = bytesBefore + input.bytesRead();
      machines_ = summary_.machines();
    }
    if (badLines > kReportedLines) {
      report(text(input.name(), ": ", grouped(badLines), " bad lines"));
    }
  }

  /// «1,234,000 machines, 220,000 a second, 12 s left»
  [[nodiscard]] std::string progress() const {
    const std::chrono::duration<double> gone = std::chrono::steady_clock::now() - began_;
    const std::uint64_t machines = machines_;
    const auto bytes = static_cast<double>(bytes_);
    std::string out =
        text(grouped(machines), " machines, ",
             grouped(static_cast<std::uint64_t>(static_cast<double>(machines) / gone.count())),
             " a second");
    if (totalBytes_ && bytes > 0) {
      const double left =
          std::max(0.0, static_cast<double>(*totalBytes_) - bytes) * gone.count() / bytes;
      out += text(", ", grouped(static_cast<std::uint64_t>(left)), " s left");
    }
    return out;
  }

  void report(std::string_view problem) {
    flush();  // so that on a terminal the error follows the previous prediction
    console_.reportError(printable(problem));
  }

  void predict(const Facts& facts, const std::string& place, std::uint64_t line) {
    const MachinePrediction& now = whatIf_.predict(facts);
    const MachineKind kind{
        .update = whatIf_.update(facts),
        .macOS = facts.macOSVersion.transform([&](auto&) { return facts.macOSMajorVersion; }),
        .processor = facts.isAppleSilicon ? Processor::appleSilicon : Processor::intel};
    summary_.add(now.counted, kind);
    const MachinePrediction* const before = before_ ? &before_->predict(facts) : nullptr;
    const bool moved = before != nullptr && before->counted != now.counted;
    if (moved) {
      summary_.addMove({before->counted, now.counted});
    }
    if (request_.summaryOnly || (before != nullptr && !moved)) {
      return;
    }
    JSONObject object;
    object.addString("machine", facts.name ? *facts.name : text(place, line))
        .addString("macOS", unlessEmpty(facts.macOSVersion))
        .addString("processor", nameOf(kind.processor))
        .addString("update", nameOf(kind.update));
    addPrediction(object, now);
    if (before != nullptr) {
      JSONObject prediction;
      addPrediction(prediction, *before);
      object.addJSON("before", prediction.done());
    }
    (out_ += object.done()) += '\n';
    if (out_.size() >= kOutputBytes) {
      flush();
    }
  }

  void flush() {
    if (!out_.empty()) {
      console_.write(out_);
      out_.clear();
    }
  }

  const WhatIfRequest& request_;
  Console& console_;
  FactsReader reader_;
  WhatIf whatIf_;
  std::optional<WhatIf> before_;
  FleetSummary summary_;
  std::string out_;
  bool allWereRead_ = true;
  // Of the progress, which is shown by another thread.
  std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
  std::optional<std::uint64_t> totalBytes_;
  std::atomic<std::uint64_t> machines_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
};

ActionFile readActionFile(const std::string& path) {
  vexlo::PatchActionJSONParser parser(path);
  return decoded(parser);
}

/// Opens a FIFO or a device for writing; empty, with `errno` set, if it can't be opened. Waits a
/// limited time for the reader of a FIFO.
platform::Descriptor openForWriting(const std::string& path) {
  const auto deadline = std::chrono::steady_clock::now() + kWaitForReader;
  for (;; std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
    platform::Descriptor file =
        platform::aboveStandard(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file || errno != ENXIO || std::chrono::steady_clock::now() >= deadline) {
      return file;
    }
  }
}

/// Writes the file atomically, unless it is a FIFO or a device, which must not be replaced. Throws
/// `std::runtime_error`.
void writeSummary(const std::string& path, std::string_view bytes) {
  struct stat status{};
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
    if (const auto written = platform::writeFileAtomically(path, bytes); !written) {
      throw std::runtime_error(written.error().message);
    }
    return;
  }
  const platform::Descriptor file = openForWriting(path);
  if (!file && errno == ENXIO) {
    throw std::runtime_error(path + ": nobody reads it");
  }
  if (!file) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  ::fcntl(file.get(), F_SETFL, 0);  // writes may wait for the reader
  if (const std::int32_t error = platform::writeAll(file.get(), bytes); error != 0) {
    throw std::system_error(error, std::generic_category(), path);
  }
}

}  // namespace

ExitStatus whatIf(const WhatIfRequest& request, Console& console) {
  const LogCore::ScopedLogSink quiet(std::make_shared<LogCore::NullSink>());
  const ActionFile file = readActionFile(request.actionFile);
  const ActionFile fileBefore =
      request.compareWith ? readActionFile(*request.compareWith) : nullptr;
  namesNotInFile(request, *file, console);
  if (PatchRequest former = request; fileBefore) {
    former.strict = false;  // the patch may be new
    namesNotInFile(former, *fileBefore, console, "the file to compare with");
  }
  FleetEvaluation fleet(request, file, fileBefore, console);
  fleet.readAll();
  const FleetSummary& summary = fleet.summary();
  if (request.summaryFile) {
    writeSummary(*request.summaryFile, asJSON(summary));
  }
  if (request.summaryOnly) {
    console.write(request.json ? asJSON(summary) : asTable(summary, console));
  } else if (!request.summaryFile) {
    const std::string table = asTable(summary, console);
    console.withActivityCleared([&] { (void)platform::writeAll(STDERR_FILENO, table); });
  }
  return !fleet.allWereRead()     ? ExitStatus::failure
         : summary.badLines() > 0 ? ExitStatus::badLines
                                  : ExitStatus::success;
}

ExitStatus mergeSummaries(const MergeRequest& request, Console& console) {
  FleetSummary merged;
  bool isUsable = true;
  std::map<std::size_t, std::string> places;  // by the summary's hash
  const auto reject = [&](const std::string& place, std::string_view why) {
    console.reportError(text(printable(place), ": ", printable(why)));
    isUsable = false;
  };
  for (const std::string& file : request.summaryFiles) {
    try {
      LineReader input(file, kLongestSummary);
      bool isEmpty = true;
      while (const auto line = input.next()) {
        const std::string place = text(input.name(), ":", line->number);
        isEmpty = false;
        if (line->isTooLong) {
          reject(place, text("expected a line of at most ", kLongestSummary, " bytes"));
          break;  // it may have no end
        } else if (const auto summary = summaryFromJSON(line->text); !summary) {
          reject(place, summary.error().what());
        } else if (!merged.merge(*summary)) {
          reject(place,
                 "this summary is for another patch or other actions than the previous ones");
        } else if (const auto [first, isNew] =
                       places.emplace(std::hash<std::string>{}(asJSON(*summary)), place);
                   !isNew && summary->machines() > 0) {
          console.reportError(printable(
              text(place, ": warning: the same summary as ", first->second, ", counted twice")));
        }
      }
      if (isEmpty) {  // whatever should have written it failed
        reject(input.name(), "expected a summary, found none");
      }
    } catch (const std::system_error& error) {
      console.reportError(printable(error.what()));
      isUsable = false;
    }
  }
  if (!isUsable) {
    return ExitStatus::unusableFile;  // a partial sum would be misleading
  }
  console.write(request.json ? asJSON(merged) : asTable(merged, console));
  return ExitStatus::success;
}

}  // namespace agent_tool
