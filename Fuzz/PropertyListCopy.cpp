// Reads property lists with the library and writes them as XML, for compare-property-lists. Input
// and output are a length in decimal, a line feed and that many bytes; a length of -1 means
// rejected.
#include <cstddef>
#include <iostream>
#include <stdexcept>
#include <string>

#include "Platform/PropertyList.h"

int main() {
  for (std::size_t size = 0; std::cin >> size;) {
    std::cin.get();
    std::string bytes(size, '\0');
    std::cin.read(bytes.data(), static_cast<std::streamsize>(size));
    const auto value = platform::parsePropertyList(bytes);
    std::string copy;
    try {
      copy = value ? platform::toXML(*value) : "";
    } catch (const std::invalid_argument&) {
      copy.clear();
    }
    std::cout << (copy.empty() ? "-1" : std::to_string(copy.size())) << '\n' << copy << std::flush;
  }
}
