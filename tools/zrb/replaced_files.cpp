#include "replaced_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "failure.h"
#include "open_file.h"

namespace zrbtool {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// What the signal handler removes.
std::atomic<const char*> removable[ReplacedFiles::kMostFiles];
static_assert(std::atomic<const char*>::is_always_lock_free);

extern "C" void removeAndEnd(int signal) {
  for (const auto& name : removable)
    if (const char* file = name.load()) unlink(file);
  // The default action, which SA_RESETHAND has put back, ends the program when the handler returns.
  raise(signal);
}

// Holds the signals back for as long as it lives.
class SignalsHeld {
public:
  SignalsHeld() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kSignals) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &m_before);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }

private:
  sigset_t m_before;
};

Failure cannot(const std::string& what, const std::string& target) {
  return failureAt(ExitStatus::io, target, 0, "0",
                   {what, std::strerror(errno), "a file that can be written, in a folder with room for it"});
}

// Nothing but a file is replaced: no folder, no device, no link to one.
void checkTarget(const std::string& target) {
  struct stat status;
  if (stat(target.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return;
  throw failureAt(ExitStatus::io, target, 0, "0",
                  {"cannot write", S_ISDIR(status.st_mode) ? "a folder" : "something that is no file",
                   "the name of a file, which may exist"});
}

std::string folderOf(const std::string& target) {
  const std::size_t slash = target.rfind('/');
  return slash == std::string::npos ? "." : target.substr(0, slash + 1);
}

// What a program may give a new file here.
mode_t usualMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// The file's bytes and its mode on the disk.
void finish(const std::string& file, const std::string& target) {
  const OpenFile opened(file, O_RDONLY);
  if (!opened.isOpen() || fchmod(opened.handle(), usualMode()) != 0 || fsync(opened.handle()) != 0)
    throw cannot("cannot write", target);
}

}  // namespace

ReplacedFiles::ReplacedFiles() {
  struct sigaction action = {};
  action.sa_handler = removeAndEnd;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : kSignals) sigaddset(&action.sa_mask, signal);
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &m_old_actions[i]);
    if (m_old_actions[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);  // as nohup wants it
  }
}

ReplacedFiles::~ReplacedFiles() {
  {
    const SignalsHeld held;
    for (const File& file : m_files)
      if (!file.fresh.empty() && !file.isPlaced) unlink(file.fresh.c_str());
    for (auto& name : removable) name.store(nullptr);
  }
  for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &m_old_actions[i], nullptr);
}

const std::string& ReplacedFiles::add(const std::string& target) {
  assert(m_removable < kMostFiles);
  checkTarget(target);
  File& file = m_files.emplace_back();
  file.target = target;
  std::string name = target + ".XXXXXX";
  const SignalsHeld held;
  if (!OpenFile(mkostemp(name.data(), O_CLOEXEC)).isOpen()) throw cannot("cannot write", target);
  file.fresh = name;
  file.aside = name + ".old";
  removable[m_removable++].store(file.fresh.c_str());
  return file.fresh;
}

void ReplacedFiles::addRemoval(const std::string& target) {
  checkTarget(target);
  File& file = m_files.emplace_back();
  file.target = target;
  file.aside = target + "." + std::to_string(getpid()) + ".old";
}

void ReplacedFiles::putAside(File& file) {
  file.isAside = rename(file.target.c_str(), file.aside.c_str()) == 0;
  if (!file.isAside && errno != ENOENT) throw cannot("cannot replace", file.target);
}

void ReplacedFiles::put(File& file) {
  if (file.fresh.empty()) return;
  if (rename(file.fresh.c_str(), file.target.c_str()) != 0) throw cannot("cannot replace", file.target);
  file.isPlaced = true;
}

void ReplacedFiles::syncFolder(const std::string& target) {
  const OpenFile folder(folderOf(target), O_RDONLY | O_DIRECTORY);
  if (!folder.isOpen()) return;                                // one that may be written but not read
  if (fsync(folder.handle()) == 0 || errno == EINVAL) return;  // some file systems do not do it for folders
  throw cannot("cannot replace", target);
}

void ReplacedFiles::undo() {
  for (auto file = m_files.rbegin(); file != m_files.rend(); ++file)
    if (file->isPlaced) file->isPlaced = rename(file->target.c_str(), file->fresh.c_str()) != 0;
  for (File& file : m_files)
    if (file.isAside) file.isAside = rename(file.aside.c_str(), file.target.c_str()) != 0;
}

void ReplacedFiles::commit() {
  const SignalsHeld held;
  for (const File& file : m_files)
    if (!file.fresh.empty()) finish(file.fresh, file.target);
  try {
    for (auto file = m_files.rbegin(); file != m_files.rend(); ++file) putAside(*file);
    for (File& file : m_files) put(file);
    syncFolder(m_files.front().target);
  } catch (...) {
    undo();
    throw;
  }
  for (const File& file : m_files)
    if (file.isAside) unlink(file.aside.c_str());
}

}  // namespace zrbtool
