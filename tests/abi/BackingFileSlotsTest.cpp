// The virtual operations of backing-file buffers and their ends, and the places of their fields.
#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/BackingFileHarness.h"
#include "support/BinaryInterface.h"
#include "support/ElfSymbols.h"
#include "zrbbase.h"

namespace {

// ---- Slots ----

// The vtables of the library as a host's loader finds them.
class Vtables {
public:
  Vtables() : m_handle(dlopen(ZRB_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD)) {
    for (const ExportedSymbol& symbol : exportedSymbols(ZRB_LIBRARY_PATH)) m_symbols.emplace(symbol.signature, symbol);
  }
  Vtables(const Vtables&) = delete;
  Vtables& operator=(const Vtables&) = delete;
  ~Vtables() {
    if (m_handle) dlclose(m_handle);
  }

  void* address(const std::string& signature) const {
    const auto found = m_symbols.find(signature);
    return m_handle && found != m_symbols.end() ? dlsym(m_handle, found->second.mangled.c_str()) : nullptr;
  }
  // What stands in the slots of a class, behind the offset to the top and the type information.
  std::vector<void*> slotsOf(const std::string& className) const {
    const std::string name = "vtable for " + className;
    const void* table = address(name);
    if (!table) return {};
    std::vector<void*> slots;
    for (std::size_t offset = 16; offset < m_symbols.at(name).size; offset += sizeof(void*))
      slots.push_back(valueAt<void*>(table, offset));
    return slots;
  }

private:
  void* m_handle;
  std::map<std::string, ExportedSymbol> m_symbols;
};

struct Override {
  std::size_t slot;
  const char* operation;  // without the class name
};

struct Class {
  const char* name;
  const char* base;
  std::size_t slots;
  std::vector<Override> overrides;  // every other slot is the base class's
};

const Class kClasses[] = {
    {"ZRBBackingFileBuf",
     "ZRBBuf",
     18,
     {{0, "~ZRBBackingFileBuf() [complete]"},
      {1, "~ZRBBackingFileBuf() [deleting]"},
      {2, "init()"},
      {3, "setProperty(ZRBPropertyInfo*)"},
      {4, "getProperty(ZRBPropertyInfo*)"},
      {6, "isZRBBackingFileBuf()"},
      {8, "getZRBBackingFileBuf()"},
      {9, "isMultiPass()"},
      {10, "isRandomAccess()"},
      {13, "getTotalNumRows()"},
      {14, "releaseInputRows(long)"},
      {15, "setEOF(int)"},
      {16, "newBufWriter(ZRBProc*)"},
      {17, "newBufReader(ZRBProc*)"}}},
    {"ZRBBackingFileBufReader",
     "ZRBBufReader",
     33,
     {{0, "~ZRBBackingFileBufReader() [complete]"},
      {1, "~ZRBBackingFileBufReader() [deleting]"},
      {2, "init()"},
      {5, "setRequestRows(long)"},
      {7, "getRowsReady()"},
      {18, "openBlobData(long long, long long)"},
      {19, "readBlobData(char*, long)"},
      {20, "seekBlobData(long long)"},
      {21, "getBlobOffsetInData()"},
      {23, "closeBlobData()"},
      {24, "isBlobOpen()"},
      {25, "releaseRows(long)"},
      {26, "releaseAll()"},
      {27, "getEOF()"},
      {28, "getTotalNumRows()"},
      {30, "setChunkPosition(long long)"},
      {31, "isMultiPass()"},
      {32, "isRandomAccess()"}}},
    {"ZRBBackingFileBufWriter",
     "ZRBBufWriter",
     36,
     {{0, "~ZRBBackingFileBufWriter() [complete]"},
      {1, "~ZRBBackingFileBufWriter() [deleting]"},
      {17, "setBlobFileOffset(long long)"},
      {18, "getBlobFileOffset()"},
      {20, "openBlobData()"},
      {21, "writeBlobData(char const*, long)"},
      {23, "closeBlobData(long long*, long long*)"},
      {24, "isBlobOpen()"}}},
};

TEST(BackingFileSlots, the_library_overrides_these_slots_and_appends_none) {
  const Vtables vtables;
  for (const Class& each : kClasses) {
    SCOPED_TRACE(each.name);
    const std::vector<void*> slots = vtables.slotsOf(each.name);
    const std::vector<void*> baseSlots = vtables.slotsOf(each.base);
    ASSERT_EQ(slots.size(), each.slots);
    ASSERT_EQ(baseSlots.size(), each.slots);
    std::vector<void*> expected = baseSlots;
    for (const Override& override : each.overrides) {
      expected[override.slot] = vtables.address(std::string(each.name) + "::" + override.operation);
      EXPECT_NE(expected[override.slot], nullptr) << override.operation << " is not exported";
    }
    for (std::size_t slot = 0; slot < slots.size(); ++slot) EXPECT_EQ(slots[slot], expected[slot]) << "slot " << slot;
  }
}

TEST(BackingFileSlots, the_headers_declare_the_overrides_in_the_slots_of_the_base) {
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::init), 2u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::setProperty), 3u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::getProperty), 4u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::isZRBMemoryBuf), 5u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::isZRBBackingFileBuf), 6u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::getZRBMemoryBuf), 7u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::getZRBBackingFileBuf), 8u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::isMultiPass), 9u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::isRandomAccess), 10u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::getTotalNumRows), 13u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::releaseInputRows), 14u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::setEOF), 15u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::newBufWriter), 16u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBuf::newBufReader), 17u);

  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::init), 2u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::setRequestRows), 5u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::getRowsReady), 7u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::openBlobData), 18u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::readBlobData), 19u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::seekBlobData), 20u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::getBlobOffsetInData), 21u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::closeBlobData), 23u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::isBlobOpen), 24u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::releaseRows), 25u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::releaseAll), 26u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::getEOF), 27u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::getTotalNumRows), 28u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::setChunkPosition), 30u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::isMultiPass), 31u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufReader::isRandomAccess), 32u);

  EXPECT_EQ(slotOf(&ZRBBackingFileBufWriter::setBlobFileOffset), 17u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufWriter::getBlobFileOffset), 18u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufWriter::openBlobData), 20u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufWriter::writeBlobData), 21u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufWriter::closeBlobData), 23u);
  EXPECT_EQ(slotOf(&ZRBBackingFileBufWriter::isBlobOpen), 24u);
}

// ---- Fields: a value is set by a call and then found in the object's bytes ----

static_assert(sizeof(ZRBBackingFileBuf) == 264);
static_assert(sizeof(ZRBBackingFileBufReader) == sizeof(ZRBBufReader) + 16);
static_assert(sizeof(ZRBBackingFileBufWriter) == sizeof(ZRBBufWriter));

TEST(BackingFileFields, of_a_buffer_follow_those_of_every_buffer) {
  ZRBBackingFileBuf fresh;
  EXPECT_EQ(valueAt<char*>(&fresh, 200), nullptr);
  EXPECT_EQ(valueAt<std::int64_t>(&fresh, 208), 0);
  EXPECT_EQ(valueAt<int>(&fresh, 216), -1);
  EXPECT_EQ(valueAt<int>(&fresh, 220), 0);
  EXPECT_EQ(valueAt<char*>(&fresh, 224), nullptr);
  EXPECT_EQ(valueAt<int>(&fresh, 232), -1);
  EXPECT_EQ(valueAt<std::int64_t>(&fresh, 240), 0);
  EXPECT_EQ(valueAt<std::int64_t>(&fresh, 248), -1);
  EXPECT_EQ(valueAt<std::int64_t>(&fresh, 256), -1);

  const TemporaryDirectory directory;
  const std::string rows = directory.file("rows");
  const std::string blobs = directory.file("blobs");
  writeFile(blobs, std::string(53, '#') + blobRecord(53, "0123456"));
  writeFile(rows, "");
  ReadFile<> file(rows, 0x123456789, 4, kOneBlob, blobs);
  ASSERT_EQ(file.reader.openBlobData(53, 7), 1);
  char byte;
  ASSERT_EQ(file.reader.readBlobData(&byte, 1), 1);
  EXPECT_EQ(valueAt<char*>(&file.buf, 200), file.buf.getBackingFileName());
  EXPECT_STREQ(valueAt<char*>(&file.buf, 200), rows.c_str());
  EXPECT_EQ(valueAt<std::int64_t>(&file.buf, 208), 0x123456789);
  EXPECT_EQ(valueAt<int>(&file.buf, 216), file.buf.getBackingFileHandle());
  EXPECT_GE(valueAt<int>(&file.buf, 216), 0);
  EXPECT_EQ(valueAt<int>(&file.buf, 220), 0);
  EXPECT_EQ(valueAt<char*>(&file.buf, 224), file.buf.getBlobFileName());
  EXPECT_STREQ(valueAt<char*>(&file.buf, 224), blobs.c_str());
  EXPECT_EQ(valueAt<int>(&file.buf, 232), file.buf.getBlobFileHandle());
  EXPECT_GE(valueAt<int>(&file.buf, 232), 0);
  EXPECT_EQ(valueAt<std::int64_t>(&file.buf, 240), 53);
  EXPECT_EQ(valueAt<std::int64_t>(&file.buf, 248), 7);
  EXPECT_EQ(valueAt<std::int64_t>(&file.buf, 256), 1);

  const WrittenFile<> written(directory.file("other rows"), 4);
  EXPECT_EQ(valueAt<int>(&written.buf, 220), 1) << "writing mode";
}

TEST(BackingFileFields, of_a_reader_are_the_start_and_the_rows_of_the_cache) {
  const TemporaryDirectory directory;
  writeFile(directory.file("rows"), doubleRows(0, 10));
  ReadFile<> file(directory.file("rows"), 10, 4);
  const ZRBBackingFileBufReader* reader = &file.reader;
  EXPECT_EQ(valueAt<std::int64_t>(reader, 96), 0);
  EXPECT_EQ(valueAt<std::int64_t>(reader, 104), 0);
  file.reader.setRequestRows(1);
  file.reader.setChunkPosition(7);
  EXPECT_EQ(valueAt<std::int64_t>(reader, 96), 7);
  EXPECT_EQ(valueAt<std::int64_t>(reader, 104), 3);
}

}  // namespace
