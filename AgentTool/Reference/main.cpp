// command-line-reference FOLDER [DOCUMENTS]: writes the manual page and the completions of
// vexlo-patch to FOLDER, and what documents a line of facts to DOCUMENTS.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "AgentTool/Facts/FactsTable.h"
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
  if ((count != 2 && count != 3) || *arguments[1] == '-') {
    std::cerr << "usage: command-line-reference FOLDER [DOCUMENTS]\n";
    return 64;
  }
  const std::filesystem::path folder = arguments[1];
  const ProgramText program = programText();
  write(folder / "man" / (program.name + ".1"), manualPage(program));
  write(folder / "completions" / (program.name + ".bash"), bashCompletion(program));
  write(folder / "completions" / ("_" + program.name), zshCompletion(program));
  write(folder / "completions" / (program.name + ".fish"), fishCompletion(program));
  if (count == 3) {
    const std::filesystem::path documents = arguments[2];
    write(documents / "facts.schema.json", agent_tool::factsSchema());
    write(documents / "FACTS.md", agent_tool::factsAsMarkdown());
  }
} catch (const std::exception& error) {
  std::cerr << "command-line-reference: " << error.what() << '\n';
  return 1;
}
