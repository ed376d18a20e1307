// The symbols that a shared library offers, read from its file.
#pragma once

#include <cxxabi.h>
#include <elf.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

struct ExportedSymbol {
  std::string mangled;
  std::string signature;  // in C++; constructors and destructors tell their variants apart, as in "A::A() [base]"
  std::uint64_t size;
};

// The C++ form of a mangled name, or the name itself if it is not mangled.
inline std::string signatureOf(const std::string& mangled) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> demangled(
      abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), std::free);
  if (status != 0) return mangled;
  std::string signature = demangled.get();
  const struct {
    const char* code;
    const char* variant;
  } variants[] = {
      {"C1E", " [complete]"}, {"C2E", " [base]"}, {"D0E", " [deleting]"}, {"D1E", " [complete]"}, {"D2E", " [base]"}};
  for (const auto& each : variants)
    if (mangled.find(each.code) != std::string::npos) signature += each.variant;
  return signature;
}

// Every defined symbol of the dynamic symbol table.  Throws when `path` is no 64-bit ELF file.
inline std::vector<ExportedSymbol> exportedSymbols(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::vector<char> file((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  const auto read = [&](std::uint64_t offset, auto* value) {
    if (offset > file.size() || sizeof *value > file.size() - offset) throw std::runtime_error(path + ": cut short");
    std::memcpy(value, file.data() + offset, sizeof *value);
  };
  Elf64_Ehdr header;
  read(0, &header);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
    throw std::runtime_error(path + ": not a 64-bit ELF file");

  std::vector<Elf64_Shdr> sections(header.e_shnum);
  for (std::size_t i = 0; i < sections.size(); ++i) read(header.e_shoff + i * header.e_shentsize, &sections[i]);

  std::vector<ExportedSymbol> symbols;
  for (const Elf64_Shdr& section : sections) {
    if (section.sh_type != SHT_DYNSYM) continue;
    const Elf64_Shdr& names = sections.at(section.sh_link);
    for (std::uint64_t offset = 0; offset + sizeof(Elf64_Sym) <= section.sh_size; offset += section.sh_entsize) {
      Elf64_Sym symbol;
      read(section.sh_offset + offset, &symbol);
      if (symbol.st_shndx == SHN_UNDEF || ELF64_ST_BIND(symbol.st_info) == STB_LOCAL) continue;
      const std::string mangled = file.data() + names.sh_offset + symbol.st_name;
      symbols.push_back({mangled, signatureOf(mangled), symbol.st_size});
    }
  }
  return symbols;
}
