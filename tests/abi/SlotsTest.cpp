// The order of the virtual operations of every class: a host calls them by their place.
#include <dlfcn.h>

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/BinaryInterface.h"
#include "support/ElfSymbols.h"
#include "zrbbase.h"

namespace {

// ---- What the headers declare ----

struct Slot {
  std::size_t prescribed;
  std::size_t declared;        // by the header
  std::string implementation;  // what stands there in the library's vtable of the class
};

// A destructor has no pointer to member; its place in the library's vtable is still tested.
Slot destructor(std::size_t prescribed, const char* implementation) { return {prescribed, prescribed, implementation}; }

template <class Method>
Slot slot(std::size_t prescribed, Method method, const char* implementation) {
  return {prescribed, slotOf(method), implementation};
}

using Slots = std::vector<Slot>;

const Slots kObj = {
    destructor(0, "ZRBObj::~ZRBObj() [complete]"),
    destructor(1, "ZRBObj::~ZRBObj() [deleting]"),
    slot(2, &ZRBObj::init, "ZRBObj::init()"),
    slot(3, &ZRBObj::setProperty, "ZRBObj::setProperty(ZRBPropertyInfo*)"),
    slot(4, &ZRBObj::getProperty, "ZRBObj::getProperty(ZRBPropertyInfo*)"),
};

const Slots kBuf = {
    destructor(0, "ZRBBuf::~ZRBBuf() [complete]"),
    destructor(1, "ZRBBuf::~ZRBBuf() [deleting]"),
    slot(2, &ZRBBuf::init, "ZRBBuf::init()"),
    slot(3, &ZRBBuf::setProperty, "ZRBBuf::setProperty(ZRBPropertyInfo*)"),
    slot(4, &ZRBBuf::getProperty, "ZRBBuf::getProperty(ZRBPropertyInfo*)"),
    slot(5, &ZRBBuf::isZRBMemoryBuf, "ZRBBuf::isZRBMemoryBuf()"),
    slot(6, &ZRBBuf::isZRBBackingFileBuf, "ZRBBuf::isZRBBackingFileBuf()"),
    slot(7, &ZRBBuf::getZRBMemoryBuf, "ZRBBuf::getZRBMemoryBuf()"),
    slot(8, &ZRBBuf::getZRBBackingFileBuf, "ZRBBuf::getZRBBackingFileBuf()"),
    slot(9, &ZRBBuf::isMultiPass, "ZRBBuf::isMultiPass()"),
    slot(10, &ZRBBuf::isRandomAccess, "ZRBBuf::isRandomAccess()"),
    slot(11, &ZRBBuf::getMinRowsToAvoidDeadlock, "ZRBBuf::getMinRowsToAvoidDeadlock()"),
    slot(12, &ZRBBuf::isDeadlockPossible, "ZRBBuf::isDeadlockPossible()"),
    slot(13, &ZRBBuf::getTotalNumRows, "ZRBBuf::getTotalNumRows()"),
    slot(14, &ZRBBuf::releaseInputRows, "ZRBBuf::releaseInputRows(long)"),
    slot(15, &ZRBBuf::setEOF, "ZRBBuf::setEOF(int)"),
    slot(16, &ZRBBuf::newBufWriter, "ZRBBuf::newBufWriter(ZRBProc*)"),
    slot(17, &ZRBBuf::newBufReader, "ZRBBuf::newBufReader(ZRBProc*)"),
};

const Slots kBufReader = {
    destructor(0, "ZRBBufReader::~ZRBBufReader() [complete]"),
    destructor(1, "ZRBBufReader::~ZRBBufReader() [deleting]"),
    slot(2, &ZRBBufReader::init, "ZRBBufReader::init()"),
    slot(3, &ZRBBufReader::setProperty, "ZRBObj::setProperty(ZRBPropertyInfo*)"),
    slot(4, &ZRBBufReader::getProperty, "ZRBObj::getProperty(ZRBPropertyInfo*)"),
    slot(5, &ZRBBufReader::setRequestRows, "ZRBBufReader::setRequestRows(long)"),
    slot(6, &ZRBBufReader::getRequestRows, "ZRBBufReader::getRequestRows()"),
    slot(7, &ZRBBufReader::getRowsReady, "ZRBBufReader::getRowsReady()"),
    slot(8, &ZRBBufReader::isReady, "ZRBBufReader::isReady()"),
    slot(9, &ZRBBufReader::getDouble, "ZRBBufReader::getDouble(long, long)"),
    slot(10, &ZRBBufReader::getDoubleArray, "ZRBBufReader::getDoubleArray(long, long, long, double*)"),
    slot(11, &ZRBBufReader::getLevelNum, "ZRBBufReader::getLevelNum(long, long)"),
    slot(12, &ZRBBufReader::getString, "ZRBBufReader::getString(long, long)"),
    slot(13, &ZRBBufReader::getTimeDate, "ZRBBufReader::getTimeDate(long, long)"),
    slot(14, &ZRBBufReader::isBlobNA, "ZRBBufReader::isBlobNA(long, long)"),
    slot(15, &ZRBBufReader::getBlobLength, "ZRBBufReader::getBlobLength(long, long)"),
    slot(16, &ZRBBufReader::getBlobOffset, "ZRBBufReader::getBlobOffset(long, long)"),
    slot(17, &ZRBBufReader::openBlob, "ZRBBufReader::openBlob(long, long)"),
    slot(18, &ZRBBufReader::openBlobData, "ZRBBufReader::openBlobData(long long, long long)"),
    slot(19, &ZRBBufReader::readBlobData, "ZRBBufReader::readBlobData(char*, long)"),
    slot(20, &ZRBBufReader::seekBlobData, "ZRBBufReader::seekBlobData(long long)"),
    slot(21, &ZRBBufReader::getBlobOffsetInData, "ZRBBufReader::getBlobOffsetInData()"),
    slot(22, &ZRBBufReader::closeBlob, "ZRBBufReader::closeBlob()"),
    slot(23, &ZRBBufReader::closeBlobData, "ZRBBufReader::closeBlobData()"),
    slot(24, &ZRBBufReader::isBlobOpen, "ZRBBufReader::isBlobOpen()"),
    slot(25, &ZRBBufReader::releaseRows, "ZRBBufReader::releaseRows(long)"),
    slot(26, &ZRBBufReader::releaseAll, "ZRBBufReader::releaseAll()"),
    slot(27, &ZRBBufReader::getEOF, "ZRBBufReader::getEOF()"),
    slot(28, &ZRBBufReader::getTotalNumRows, "ZRBBufReader::getTotalNumRows()"),
    slot(29, &ZRBBufReader::getChunkPosition, "ZRBBufReader::getChunkPosition()"),
    slot(30, &ZRBBufReader::setChunkPosition, "ZRBBufReader::setChunkPosition(long long)"),
    slot(31, &ZRBBufReader::isMultiPass, "ZRBBufReader::isMultiPass()"),
    slot(32, &ZRBBufReader::isRandomAccess, "ZRBBufReader::isRandomAccess()"),
};

const Slots kBufWriter = {
    destructor(0, "ZRBBufWriter::~ZRBBufWriter() [complete]"),
    destructor(1, "ZRBBufWriter::~ZRBBufWriter() [deleting]"),
    slot(2, &ZRBBufWriter::init, "ZRBBufWriter::init()"),
    slot(3, &ZRBBufWriter::setProperty, "ZRBObj::setProperty(ZRBPropertyInfo*)"),
    slot(4, &ZRBBufWriter::getProperty, "ZRBObj::getProperty(ZRBPropertyInfo*)"),
    slot(5, &ZRBBufWriter::setRequestRows, "ZRBBufWriter::setRequestRows(long)"),
    slot(6, &ZRBBufWriter::getRequestRows, "ZRBBufWriter::getRequestRows()"),
    slot(7, &ZRBBufWriter::getRowsReady, "ZRBBufWriter::getRowsReady()"),
    slot(8, &ZRBBufWriter::isReady, "ZRBBufWriter::isReady()"),
    slot(9, &ZRBBufWriter::setDouble, "ZRBBufWriter::setDouble(long, long, double)"),
    slot(10, &ZRBBufWriter::setDoubleArray, "ZRBBufWriter::setDoubleArray(long, long, long, double*)"),
    slot(11, &ZRBBufWriter::setLevelNum, "ZRBBufWriter::setLevelNum(long, long, long)"),
    slot(12, &ZRBBufWriter::setString, "ZRBBufWriter::setString(long, long, char const*)"),
    slot(13, &ZRBBufWriter::setTimeDate, "ZRBBufWriter::setTimeDate(long, long, long long)"),
    slot(14, &ZRBBufWriter::setBlobNA, "ZRBBufWriter::setBlobNA(long, long)"),
    slot(15, &ZRBBufWriter::setBlobOffset, "ZRBBufWriter::setBlobOffset(long, long, long long)"),
    slot(16, &ZRBBufWriter::setBlobLength, "ZRBBufWriter::setBlobLength(long, long, long long)"),
    slot(17, &ZRBBufWriter::setBlobFileOffset, "ZRBBufWriter::setBlobFileOffset(long long)"),
    slot(18, &ZRBBufWriter::getBlobFileOffset, "ZRBBufWriter::getBlobFileOffset()"),
    slot(19, &ZRBBufWriter::openBlob, "ZRBBufWriter::openBlob(long, long)"),
    slot(20, &ZRBBufWriter::openBlobData, "ZRBBufWriter::openBlobData()"),
    slot(21, &ZRBBufWriter::writeBlobData, "ZRBBufWriter::writeBlobData(char const*, long)"),
    slot(22, &ZRBBufWriter::closeBlob, "ZRBBufWriter::closeBlob()"),
    slot(23, &ZRBBufWriter::closeBlobData, "ZRBBufWriter::closeBlobData(long long*, long long*)"),
    slot(24, &ZRBBufWriter::isBlobOpen, "ZRBBufWriter::isBlobOpen()"),
    slot(25, &ZRBBufWriter::releaseRows, "ZRBBufWriter::releaseRows(long)"),
    slot(26, &ZRBBufWriter::setEOF, "ZRBBufWriter::setEOF()"),
    slot(27, &ZRBBufWriter::getChunkPosition, "ZRBBufWriter::getChunkPosition()"),
    slot(28, &ZRBBufWriter::setConvertDouble, "ZRBBufWriter::setConvertDouble(long, long, double)"),
    slot(29, &ZRBBufWriter::setConvertFactor, "ZRBBufWriter::setConvertFactor(long, long, char const*)"),
    slot(30, &ZRBBufWriter::setConvertString, "ZRBBufWriter::setConvertString(long, long, char const*)"),
    slot(31, &ZRBBufWriter::copyBufData,
         "ZRBBufWriter::copyBufData(ZRBBufReader*, long, long, long, long, long, long)"),
    slot(32, &ZRBBufWriter::copyBlob, "ZRBBufWriter::copyBlob(ZRBBufReader*, long, long, long, long)"),
    slot(33, &ZRBBufWriter::copyBlobData,
         "ZRBBufWriter::copyBlobData(ZRBBufReader*, long long, long long, long long*, long long*)"),
    slot(34, &ZRBBufWriter::setRectNA, "ZRBBufWriter::setRectNA(long, long, long, long)"),
    slot(35, &ZRBBufWriter::setColumnNA, "ZRBBufWriter::setColumnNA(long)"),
};

const Slots kProc = {
    destructor(0, "ZRBProc::~ZRBProc() [complete]"),
    destructor(1, "ZRBProc::~ZRBProc() [deleting]"),
    slot(2, &ZRBProc::init, "ZRBProc::init()"),
    slot(3, &ZRBProc::setProperty, "ZRBProc::setProperty(ZRBPropertyInfo*)"),
    slot(4, &ZRBProc::getProperty, "ZRBProc::getProperty(ZRBPropertyInfo*)"),
    slot(5, &ZRBProc::execute, "ZRBProc::execute()"),
    slot(6, &ZRBProc::isReady, "ZRBProc::isReady()"),
    slot(7, &ZRBProc::setDone, "ZRBProc::setDone(int)"),
    slot(8, &ZRBProc::isDone, "ZRBProc::isDone()"),
    slot(9, &ZRBProc::getExecuteCount, "ZRBProc::getExecuteCount()"),
    slot(10, &ZRBProc::setExecuteCount, "ZRBProc::setExecuteCount(long long)"),
    slot(11, &ZRBProc::incrementExecuteCount, "ZRBProc::incrementExecuteCount()"),
    slot(12, &ZRBProc::getRowsDone, "ZRBProc::getRowsDone()"),
    slot(13, &ZRBProc::setRowsDone, "ZRBProc::setRowsDone(long long)"),
    slot(14, &ZRBProc::incrementRowsDone, "ZRBProc::incrementRowsDone(long)"),
    slot(15, &ZRBProc::setNumRows, "ZRBProc::setNumRows(long)"),
    slot(16, &ZRBProc::getNumRows, "ZRBProc::getNumRows()"),
    slot(17, &ZRBProc::setOutputNumRows, "ZRBProc::setOutputNumRows(long)"),
    slot(18, &ZRBProc::getOutputNumRows, "ZRBProc::getOutputNumRows()"),
    slot(19, &ZRBProc::executeRequestRows, "ZRBProc::executeRequestRows()"),
    slot(20, static_cast<long (ZRBProc::*)(long)>(&ZRBProc::executeReleaseRows), "ZRBProc::executeReleaseRows(long)"),
    slot(21, static_cast<long (ZRBProc::*)(long, long)>(&ZRBProc::executeReleaseRows),
         "ZRBProc::executeReleaseRows(long, long)"),
    slot(22, static_cast<void (ZRBProc::*)(int, int)>(&ZRBProc::checkBufs), "ZRBProc::checkBufs(int, int)"),
    slot(23, static_cast<void (ZRBProc::*)(int, int, int, int)>(&ZRBProc::checkBufs),
         "ZRBProc::checkBufs(int, int, int, int)"),
};

// ---- Classes that append no slot of their own ----

// The table of `base` with the slots that `derived` implements itself.
Slots overriding(Slots base, const std::string& derived, const std::vector<std::size_t>& slots) {
  for (const std::size_t i : slots) {
    std::string& implementation = base.at(i).implementation;
    const std::string owner = implementation.substr(0, implementation.find(':'));
    implementation.replace(0, owner.size(), derived);
    const std::size_t destructorName = implementation.find('~' + owner);
    if (destructorName != std::string::npos) implementation.replace(destructorName + 1, owner.size(), derived);
  }
  return base;
}

struct ClassSlots {
  const char* className;
  Slots slots;
};

const std::vector<ClassSlots>& classes() {
  static const std::vector<ClassSlots> all = {
      {"ZRBObj", kObj},
      {"ZRBBuf", kBuf},
      {"ZRBMemoryBuf", overriding(kBuf, "ZRBMemoryBuf", {0, 1, 5, 7, 16, 17})},
      {"ZRBBufReader", kBufReader},
      {"ZRBMemoryBufReader", overriding(kBufReader, "ZRBMemoryBufReader", {0, 1})},
      {"ZRBBufWriter", kBufWriter},
      {"ZRBMemoryBufWriter", overriding(kBufWriter, "ZRBMemoryBufWriter", {0, 1})},
      {"ZRBProc", kProc},
      {"ZRBPipeline", overriding(kObj, "ZRBPipeline", {0, 1, 2, 3, 4})},
      {"ZRBProcRandomReader", overriding(kProc, "ZRBProcRandomReader", {0, 1, 2, 3, 4, 5})},
      {"ZRBProcNullReader", overriding(kProc, "ZRBProcNullReader", {0, 1, 2, 3, 4, 5})},
      {"ZRBProcNullWriter", overriding(kProc, "ZRBProcNullWriter", {0, 1, 2, 3, 4, 5})},
      {"ZRBProcCount", overriding(kProc, "ZRBProcCount", {0, 1, 2, 3, 4, 5})},
  };
  return all;
}

// The library as loaded into this program.
class Library {
public:
  Library() : m_handle(dlopen(ZRB_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD)) {
    for (const ExportedSymbol& symbol : exportedSymbols(ZRB_LIBRARY_PATH)) m_symbols.emplace(symbol.signature, symbol);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() {
    if (m_handle != nullptr) dlclose(m_handle);
  }

  bool isLoaded() const { return m_handle != nullptr; }
  void* address(const std::string& signature) const {
    const auto found = m_symbols.find(signature);
    return found == m_symbols.end() ? nullptr : dlsym(m_handle, found->second.mangled.c_str());
  }
  std::size_t size(const std::string& signature) const { return m_symbols.at(signature).size; }

private:
  void* m_handle;
  std::map<std::string, ExportedSymbol> m_symbols;
};

TEST(Slots, the_headers_declare_every_virtual_operation_in_its_slot) {
  for (const ClassSlots& each : classes()) {
    for (std::size_t i = 0; i < each.slots.size(); ++i) {
      const Slot& slot = each.slots[i];
      EXPECT_EQ(slot.prescribed, i) << each.className << ": the table has one row per slot, in order";
      EXPECT_EQ(slot.declared, slot.prescribed) << each.className << ", " << slot.implementation;
    }
  }
}

TEST(Slots, the_library_has_every_implementation_in_its_slot_and_no_slot_more) {
  const Library library;
  ASSERT_TRUE(library.isLoaded());
  for (const ClassSlots& each : classes()) {
    SCOPED_TRACE(each.className);
    const std::string vtableName = std::string("vtable for ") + each.className;
    const void* vtable = library.address(vtableName);
    ASSERT_NE(vtable, nullptr);
    // Ahead of slot 0: the offset to the object's top, and the type information.
    EXPECT_EQ(valueAt<std::ptrdiff_t>(vtable, 0), 0);
    EXPECT_EQ(valueAt<void*>(vtable, 8), library.address(std::string("typeinfo for ") + each.className));
    EXPECT_EQ(library.size(vtableName), 16 + each.slots.size() * sizeof(void*));
    for (const Slot& slot : each.slots) {
      const void* expected = library.address(slot.implementation);
      ASSERT_NE(expected, nullptr) << slot.implementation << " is not exported";
      EXPECT_EQ(valueAt<void*>(vtable, 16 + slot.prescribed * sizeof(void*)), expected)
          << "slot " << slot.prescribed << ": " << slot.implementation;
    }
  }
}

// A class appends its slots to those of its base and moves none of them.
TEST(Slots, a_derived_class_keeps_the_slots_of_its_base) {
  EXPECT_EQ(slotOf(&ZRBMemoryBuf::isZRBMemoryBuf), 5u);
  EXPECT_EQ(slotOf(&ZRBMemoryBuf::getZRBMemoryBuf), 7u);
  EXPECT_EQ(slotOf(&ZRBMemoryBuf::newBufWriter), 16u);
  EXPECT_EQ(slotOf(&ZRBMemoryBuf::newBufReader), 17u);
  EXPECT_EQ(slotOf(&ZRBPipeline::init), 2u);
  EXPECT_EQ(slotOf(&ZRBPipeline::setProperty), 3u);
  EXPECT_EQ(slotOf(&ZRBPipeline::getProperty), 4u);
  const struct {
    const char* className;
    std::size_t init, setProperty, getProperty, execute;
  } nodes[] = {
      {"ZRBProcRandomReader", slotOf(&ZRBProcRandomReader::init), slotOf(&ZRBProcRandomReader::setProperty),
       slotOf(&ZRBProcRandomReader::getProperty), slotOf(&ZRBProcRandomReader::execute)},
      {"ZRBProcNullReader", slotOf(&ZRBProcNullReader::init), slotOf(&ZRBProcNullReader::setProperty),
       slotOf(&ZRBProcNullReader::getProperty), slotOf(&ZRBProcNullReader::execute)},
      {"ZRBProcNullWriter", slotOf(&ZRBProcNullWriter::init), slotOf(&ZRBProcNullWriter::setProperty),
       slotOf(&ZRBProcNullWriter::getProperty), slotOf(&ZRBProcNullWriter::execute)},
      {"ZRBProcCount", slotOf(&ZRBProcCount::init), slotOf(&ZRBProcCount::setProperty),
       slotOf(&ZRBProcCount::getProperty), slotOf(&ZRBProcCount::execute)},
  };
  for (const auto& node : nodes) {
    EXPECT_EQ(node.init, 2u) << node.className;
    EXPECT_EQ(node.setProperty, 3u) << node.className;
    EXPECT_EQ(node.getProperty, 4u) << node.className;
    EXPECT_EQ(node.execute, 5u) << node.className;
  }
}

// ---- The interfaces that a host implements: the library calls them by these slots ----

TEST(Slots, a_property_request_has_its_eighteen_operations_in_order) {
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::reserved0), 0u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::isProperty), 1u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::getLongArg), 2u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::setLongResult), 3u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::getLongLongArg), 4u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::setLongLongResult), 5u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::reserved6), 6u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::setDoubleResult), 7u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::getBoolArg), 8u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::setBoolResult), 9u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::getStringArg), 10u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::setStringResult), 11u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::getBufArg), 12u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::setBufResult), 13u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::getProcArg), 14u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::setProcResult), 15u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::getNextArg), 16u);
  EXPECT_EQ(slotOf(&ZRBPropertyInfo::unknownProperty), 17u);
}

TEST(Slots, a_converter_has_its_four_operations_in_order_and_no_destructor_ahead) {
  EXPECT_EQ(slotOf(&ZRBConverter::doubleToText), 0u);
  EXPECT_EQ(slotOf(&ZRBConverter::textToDouble), 1u);
  EXPECT_EQ(slotOf(&ZRBConverter::timeDateToText), 2u);
  EXPECT_EQ(slotOf(&ZRBConverter::textToTimeDate), 3u);
}

}  // namespace
