// The tables of docs/properties.md, and the same facts as an object answers them, in one notation:
//
//   set   column.name(long, string)             get   column.name(long) -> string
#pragma once

#include <algorithm>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/PropertyCall.h"

using Texts = std::vector<std::string>;

// ---- What the page says ----

// One class of the page: what it says of the class itself, in the page's order, and the class it goes on with.
struct DocumentedClass {
  std::string name;
  std::string base;  // empty: none
  Texts set;
  Texts get;
};

// A kind of argument or result of the page's first table: the entries of a request that carry it; -1: none.
struct DocumentedKind {
  std::string name;
  std::string argument;
  int argumentSlot;
  std::string result;
  int resultSlot;
};

class PropertyDocument {
public:
  // Whatever looks like a row and cannot be read as one is a failure: no row is passed over.
  explicit PropertyDocument(const std::string& path) {
    std::ifstream stream(path);
    if (!stream) throw std::runtime_error("can't read " + path);
    const std::regex codeBlock("```(\\w*)");
    bool inCode = false;
    for (std::string line; std::getline(stream, line);) {
      std::smatch part;
      if (std::regex_match(line, part, codeBlock))
        inCode = !inCode;
      else if (inCode)
        code.push_back(line);
      else
        readLine(line);
    }
    if (inCode) throw std::runtime_error("a block of code does not end");
  }

  std::vector<DocumentedKind> kinds;
  std::vector<DocumentedClass> classes;
  Texts code;  // the lines of all blocks

  // The names that set or get of a class ask for, its own and those of its base classes, with their kinds.
  Texts chain(const std::string& className, Texts DocumentedClass::*operation) const {
    Texts all;
    for (std::string name = className; !name.empty();) {
      const DocumentedClass& at = find(name);
      const Texts& own = at.*operation;
      all.insert(all.end(), own.begin(), own.end());
      name = at.base;
      if (all.size() > 1000) throw std::runtime_error("the base classes of " + className + " go round");
    }
    return all;
  }

private:
  const DocumentedClass& find(const std::string& name) const {
    for (const DocumentedClass& each : classes)
      if (each.name == name) return each;
    throw std::runtime_error("no class " + name);
  }

  void readLine(const std::string& line) {
    static const std::regex heading("## (.*)");
    static const std::regex className("ZRB\\w+");
    static const std::regex base("(?:A|None of its own, a)nd those of \\[(\\w+)\\]\\(#(\\w+)\\)\\..*");
    std::smatch part;
    if (std::regex_match(line, part, heading)) {
      const std::string text = part[1];
      m_in_class = std::regex_match(text, className);
      if (m_in_class) classes.push_back({text, "", {}, {}});
    } else if (!line.empty() && line[0] == '|') {
      readTableLine(line);
    } else if (m_in_class && std::regex_match(line, part, base)) {
      if (!classes.back().base.empty()) throw std::runtime_error("a second base class: " + line);
      classes.back().base = part[1];
      std::string anchor = part[1];
      for (char& c : anchor)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
      if (anchor != part[2]) throw std::runtime_error("a link to elsewhere: " + line);
    }
  }

  void readTableLine(const std::string& line) {
    static const std::regex classTable(R"(\| name \| set \| get \| meaning \||\|---\|---\|---\|---\|)");
    static const std::regex kindTable(R"(\| kind \|.*|\|---\|---\|---\|---\|---\|---\|)");
    if (m_in_class) {
      if (!std::regex_match(line, classTable)) readProperty(line);
    } else if (!std::regex_match(line, kindTable)) {
      readKind(line);
    }
  }

  void readProperty(const std::string& line) {
    static const std::regex row(R"(\| `([a-z.]+)` \| ([^|]+) \| ([^|]+) \| [^| ][^|]*[^| ] \|)");
    std::smatch part;
    if (!std::regex_match(line, part, row)) throw std::runtime_error("not a row of properties: " + line);
    const std::string name = part[1];
    if (part[2] == "-" && part[3] == "-") throw std::runtime_error("neither set nor get: " + line);
    if (part[2] == "no argument")
      classes.back().set.push_back(name + "()");
    else if (part[2] != "-")
      classes.back().set.push_back(name + argumentsOf(unquoted(part[2])));
    if (part[3] != "-") {
      const std::string call = unquoted(part[3]);
      const std::size_t arrow = call.find(" -> ");
      const bool hasArguments = arrow != std::string::npos;
      classes.back().get.push_back(name + (hasArguments ? argumentsOf(call.substr(0, arrow)) : "()") + " -> " +
                                   checkedKind(hasArguments ? call.substr(arrow + 4) : call));
    }
  }

  void readKind(const std::string& line) {
    static const std::regex full(R"(\| `([\w ]+)` \| `(\w+)` \| (\d+) \| `(\w+)` \| (\d+) \| [^|]+ \|)");
    static const std::regex resultOnly(R"(\| `([\w ]+)` \| \| \| `(\w+)` \| (\d+) \| [^|]+ \|)");
    std::smatch part;
    if (std::regex_match(line, part, full))
      kinds.push_back({part[1], part[2], std::stoi(part[3]), part[4], std::stoi(part[5])});
    else if (std::regex_match(line, part, resultOnly))
      kinds.push_back({part[1], "", -1, part[2], std::stoi(part[3])});
    else
      throw std::runtime_error("not a row of kinds: " + line);
  }

  static std::string unquoted(const std::string& text) {
    if (text.size() < 3 || text.front() != '`' || text.back() != '`') throw std::runtime_error("not quoted: " + text);
    return text.substr(1, text.size() - 2);
  }

  std::string checkedKind(const std::string& text) const {
    for (const DocumentedKind& kind : kinds)
      if (kind.name == text) return text;
    throw std::runtime_error("no such kind: " + text);
  }

  // "long column, string name" as "(long, string)"; the name of an argument may be missing.
  std::string argumentsOf(const std::string& text) const {
    static const std::regex argument("(long long|\\w+)(?: [a-z]+)?");
    std::string kindsOfAll;
    for (std::size_t begin = 0; begin <= text.size();) {
      const std::size_t end = std::min(text.find(", ", begin), text.size());
      const std::string one = text.substr(begin, end - begin);
      std::smatch part;
      if (!std::regex_match(one, part, argument)) throw std::runtime_error("not an argument: " + one);
      kindsOfAll += (kindsOfAll.empty() ? "" : ", ") + checkedKind(part[1]);
      begin = end + 2;
    }
    return "(" + kindsOfAll + ")";
  }

  bool m_in_class = false;
};

// ---- What an object answers ----

inline std::string kindOfCall(const std::string& call, const std::string& prefix, const std::string& suffix) {
  static const std::pair<const char*, const char*> kinds[] = {
      {"Long", "long"},     {"LongLong", "long long"}, {"Double", "double"}, {"Bool", "bool"},
      {"String", "string"}, {"Buf", "ZRBBuf"},         {"Proc", "ZRBProc"}};
  for (const auto& [word, kind] : kinds)
    if (call == prefix + word + suffix) return kind;
  return "";
}

// The arguments that were read, one per request, and the result that was stored, from what a request and its follow-on
// requests recorded.  Whatever does not fit shows: an operation of another kind by its own name, so does a result
// anywhere but on the request itself, and what is read from one request besides its argument stands behind "and".
inline std::string signatureOf(const std::string& name, PropertyCall& call) {
  std::string arguments;
  std::string results;
  for (PropertyCall* at = &call; at; at = at->next()) {
    std::string read;
    for (const std::string& each : at->calls) {
      const std::string result = at == &call ? kindOfCall(each, "set", "Result") : "";
      const std::string argument = kindOfCall(each, "get", "Arg");
      if (!result.empty())
        results += " -> " + result;
      else if (each != "getNextArg")
        read += (read.empty() ? "" : " and ") + (argument.empty() ? each : argument);
    }
    if (at == &call || !read.empty()) arguments += (at == &call ? "" : ", ") + read;
  }
  return name + "(" + arguments + ")" + results;
}

enum class Operation { set, get };

inline void perform(Operation operation, ZRBObj& object, PropertyCall& call) {
  operation == Operation::set ? call.set(object) : call.get(object);
}

// Every name that an object asks for, in order, each with what happens when the request then says yes.  `make` makes a
// new object for each request, so that none sees what another has done.
template <class Make>
Texts answeredBy(Operation operation, Make make) {
  PropertyCall all("");
  perform(operation, make()->object(), all);
  Texts signatures;
  for (const std::string& name : all.asked) {
    const auto made = make();
    PropertyCall call(name);
    perform(operation, made->object(), call);
    signatures.push_back(signatureOf(name, call));
  }
  return signatures;
}
