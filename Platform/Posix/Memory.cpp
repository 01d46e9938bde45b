#include "Platform/Memory.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>

namespace platform {
namespace {

/// When core files are piped to a program, Linux ignores every limit except 1, which means no core
/// file. As a size limit, one byte is too small for any core file, on macOS too.
constexpr rlim_t kNoCoreFile = 1;

/// The saved core file limit, while core files are disabled.
struct CoreFiles {
  std::mutex mutex;
  std::uint64_t unwanted = 0;
  rlim_t formerLimit = 0;
};

CoreFiles& coreFiles() {
  static CoreFiles& files = *new CoreFiles;  // never destroyed: secrets may outlive static objects
  return files;
}

/// Sets the soft limit and returns the previous one.
rlim_t setLimitOfCoreFiles(rlim_t wanted) noexcept {
  rlimit limit{};
  ::getrlimit(RLIMIT_CORE, &limit);
  const rlim_t former = limit.rlim_cur;
  limit.rlim_cur = wanted;
  ::setrlimit(RLIMIT_CORE, &limit);
  return former;
}

/// The system's library copies through vector registers, which keep the last bytes. A signal, or
/// the dynamic linker when it resolves a function, would save them on the stack. Copies zeros
/// through the same ones: enough for all of those that a copy uses.
void overwriteVectorRegisters() noexcept {
  constexpr std::size_t kBytes = 1024;
  const std::array<char, kBytes> zeros{};
  std::array<char, kBytes> copy;  // NOLINT(*-member-init)
  // Volatile, so that the compiler calls the function.
  void* (*volatile const copyBytes)(void*, const void*, std::size_t) = std::memcpy;
  copyBytes(copy.data(), zeros.data(), kBytes);
}

/// Its frame takes the place of the frames of what the caller called before. The writes are
/// volatile, so that the compiler keeps them.
[[gnu::noinline]] void overwriteStack() noexcept {
  constexpr std::size_t kBytes = std::size_t{64} << 10;
  std::array<volatile std::uint64_t, kBytes / sizeof(std::uint64_t)>
      words;  // NOLINT(*-member-init)
  for (volatile std::uint64_t& word : words) {
    word = 0;
  }
  overwriteVectorRegisters();
}

}  // namespace

[[gnu::noinline]] void detail::callThenWipeStack(void (*call)(const void* function),
                                                 const void* function) {
  struct WipeStackAtEnd {
    ~WipeStackAtEnd() { overwriteStack(); }
  } const atEnd;
  call(function);
}

void wipe(std::string& secret) noexcept {
  secret.resize(
      secret.capacity());  // covers remains of longer content beyond the end; doesn't reallocate
  volatile char* const bytes = secret.data();  // volatile, so that the compiler keeps the writes
  for (std::size_t index = 0; index < secret.size(); ++index) {
    bytes[index] = 0;
  }
  secret.clear();
  overwriteVectorRegisters();
}

void keepFromSwap(const std::string& secret) noexcept {
  // Some systems require a page-aligned address.
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const std::size_t before = reinterpret_cast<std::uintptr_t>(secret.data()) % page;
  (void)::mlock(secret.data() - before, before + secret.capacity());
}

NoCoreFile::NoCoreFile() noexcept {
  CoreFiles& files = coreFiles();
  const std::scoped_lock lock(files.mutex);
  if (files.unwanted++ == 0) {
    files.formerLimit = setLimitOfCoreFiles(kNoCoreFile);
  }
}

NoCoreFile::~NoCoreFile() {
  CoreFiles& files = coreFiles();
  const std::scoped_lock lock(files.mutex);
  if (--files.unwanted == 0) {
    setLimitOfCoreFiles(files.formerLimit);
  }
}

}  // namespace platform
