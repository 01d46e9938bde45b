// command-line-reference FOLDER: writes the manual page and the completions of vexlo-patch there.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "AgentTool/Reference/CommandLineText.h"

namespace {

void write(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  if (!(out << text).flush()) {
    throw std::runtime_error("can't write " + file.string());
  }
}

}  // namespace

int main(int count, char** arguments) try {
  using namespace agent_tool::reference;  // NOLINT(google-build-using-namespace)
  if (count != 2) {
    std::cerr << "usage: command-line-reference FOLDER\n";
    return 64;
  }
  const std::filesystem::path folder = arguments[1];
  const ProgramText program = programText();
  write(folder / "man" / (program.name + ".1"), manualPage(program));
  write(folder / "completions" / (program.name + ".bash"), bashCompletion(program));
  write(folder / "completions" / ("_" + program.name), zshCompletion(program));
  write(folder / "completions" / (program.name + ".fish"), fishCompletion(program));
} catch (const std::exception& error) {
  std::cerr << "command-line-reference: " << error.what() << '\n';
  return 1;
}
