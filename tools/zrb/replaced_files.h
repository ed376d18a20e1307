// Files that are written whole or not at all, several of them together.
//
//   ReplacedFiles files;
//   const std::string& rows = files.add("out.zrb");    // write to the file of this name instead
//   const std::string& schema = files.add("out.zrb.json");
//   ...
//   files.commit();
//
// Until commit() the targets stay as they were.  Without it, and when SIGINT, SIGTERM or SIGHUP end the program, the new
// files are removed.  commit() first puts the old files aside, in the opposite order, then the new ones in place: there
// is no moment at which the target that was added last stands beside anything but its own companions.
#pragma once

#include <csignal>
#include <cstddef>
#include <list>
#include <string>

namespace zrbtool {

class ReplacedFiles {
public:
  // REQUIRES: there is no other object of the class.
  ReplacedFiles();
  ReplacedFiles(const ReplacedFiles&) = delete;
  ReplacedFiles& operator=(const ReplacedFiles&) = delete;
  ~ReplacedFiles();

  // The name of a new, empty file in the folder of `target`.  Throws Failure (io).
  // REQUIRES: fewer than kMostFiles files were added before.
  const std::string& add(const std::string& target);
  // commit() removes `target`, if it is there.  Throws Failure (io) where it is no file.
  void addRemoval(const std::string& target);
  // Everything reaches the disk.  Throws Failure (io) after the targets are again what they were.
  void commit();

  static constexpr std::size_t kMostFiles = 4;

private:
  struct File {
    std::string target;
    std::string fresh;      // the new file; empty for a removal
    std::string aside;      // where the old file is meanwhile
    bool isAside = false;   // whether it is there
    bool isPlaced = false;  // whether the new file has the target's name
  };

  void put(File& file);
  void putAside(File& file);
  void undo();
  void syncFolder(const std::string& target);

  std::list<File> m_files;  // in the order they were added; names keep their addresses
  std::size_t m_removable = 0;
  struct sigaction m_old_actions[3];
};

}  // namespace zrbtool
