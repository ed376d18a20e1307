// Where the bytes of the rows are, and what they are.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "support/Harness.h"

// ---- Control of array allocation ----
//
// Row storage comes from array new.  The replacements below pass every request on to the operators they replace, except
// while a test has them refuse large blocks or serve large blocks from little memory.

namespace {

constexpr std::size_t kLargeBytes = std::size_t{1} << 24;
constexpr std::size_t kMoreThanAnyMemory = std::size_t{1} << 46;

enum class LargeBlocks { passOn, refuse, map };
LargeBlocks g_large_blocks = LargeBlocks::passOn;
std::vector<std::size_t>* g_large_requests = nullptr;  // sizes asked for while a test watches

void* g_mapped_block = nullptr;
std::size_t g_mapped_bytes = 0;

// One small piece of memory, seen again and again through `bytes` of addresses: writable everywhere, yet cheap.
void* mapRepeatedly(std::size_t bytes) {
  constexpr std::size_t kPieceBytes = std::size_t{4} << 20;
  const int piece = memfd_create("zrb test block", 0);
  if (piece < 0 || ftruncate(piece, kPieceBytes) != 0) return nullptr;
  const std::size_t mappedBytes = (bytes + kPieceBytes - 1) / kPieceBytes * kPieceBytes;
  void* block = mmap(nullptr, mappedBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (block != MAP_FAILED) {
    for (std::size_t at = 0; at < mappedBytes; at += kPieceBytes)
      mmap(static_cast<char*>(block) + at, kPieceBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED | MAP_POPULATE,
           piece, 0);
    g_mapped_block = block;
    g_mapped_bytes = mappedBytes;
  }
  close(piece);
  return block == MAP_FAILED ? nullptr : block;
}

// The operator that the one of this file replaces.
template <class Function>
Function replaced(const char* symbol) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

// A large block as the test wants it; `decided` is false when the request is to be passed on.
void* largeBlock(std::size_t bytes, bool& decided) {
  decided = true;
  if (bytes >= kMoreThanAnyMemory) {
    if (g_large_requests) g_large_requests->push_back(bytes);
    return nullptr;
  }
  if (bytes >= kLargeBytes && g_large_blocks != LargeBlocks::passOn) {
    if (g_large_requests) g_large_requests->push_back(bytes);
    return g_large_blocks == LargeBlocks::map ? mapRepeatedly(bytes) : nullptr;
  }
  decided = false;
  return nullptr;
}

bool releaseMapped(void* block) {
  if (!block || block != g_mapped_block) return false;
  munmap(block, g_mapped_bytes);
  g_mapped_block = nullptr;
  return true;
}

// What happens to large blocks within a scope, and which were asked for.
class LargeBlockScope {
public:
  explicit LargeBlockScope(LargeBlocks what) {
    g_large_blocks = what;
    g_large_requests = &requests;
  }
  LargeBlockScope(const LargeBlockScope&) = delete;
  LargeBlockScope& operator=(const LargeBlockScope&) = delete;
  ~LargeBlockScope() {
    g_large_blocks = LargeBlocks::passOn;
    g_large_requests = nullptr;
  }
  std::vector<std::size_t> requests;
};

}  // namespace

void* operator new[](std::size_t bytes) {
  bool decided;
  void* block = largeBlock(bytes, decided);
  if (!decided) {
    static const auto passOn = replaced<void* (*)(std::size_t)>("_Znam");
    return passOn(bytes);
  }
  if (!block) throw std::bad_alloc();
  return block;
}

void* operator new[](std::size_t bytes, const std::nothrow_t& nothrow) noexcept {
  bool decided;
  void* block = largeBlock(bytes, decided);
  if (decided) return block;
  static const auto passOn = replaced<void* (*)(std::size_t, const std::nothrow_t&)>("_ZnamRKSt9nothrow_t");
  return passOn(bytes, nothrow);
}

void operator delete[](void* block) noexcept {
  if (releaseMapped(block)) return;
  static const auto passOn = replaced<void (*)(void*)>("_ZdaPv");
  passOn(block);
}

void operator delete[](void* block, std::size_t bytes) noexcept {
  if (releaseMapped(block)) return;
  static const auto passOn = replaced<void (*)(void*, std::size_t)>("_ZdaPvm");
  passOn(block, bytes);
}

namespace {

// A buffer that shows its block.
class StorageBuf : public ZRBMemoryBuf {
public:
  StorageBuf(long capacity, const std::vector<Column>& columns) {
    setNumRows(capacity);
    setColumns(*this, columns);
    initData();
  }
  char* data() { return m_data.get(); }
  unsigned long dataBytes() { return m_data_bytes; }
  // Bytes of a cell as hexadecimal digits.
  std::string bytes(long ringRow, long column, long count) {
    std::string digits;
    for (long i = 0; i < count; ++i) {
      char pair[3];
      std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned char>(getDataPtr(ringRow, column, count)[i]));
      digits += pair;
    }
    return digits;
  }
};

const char kStringNABytes[] = "EFBFBF00";
const char kDoubleNABytes[] = "0100F07F0100F07F";
const char kTimeDateNABytes[] = "FFFFFFFFFFFFFF7F";
const char kBlobNABytes[] = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF";

}  // namespace

// ---- Allocation ----

TEST(BufStorage, fresh_storage_is_zero_and_as_large_as_rows_times_bytes_per_row) {
  StorageBuf buf(7, oneColumnOfEachType());
  ASSERT_NE(buf.data(), nullptr);
  EXPECT_EQ(buf.dataBytes(), 7u * (8 + 2 + 16 + 8 + 16));
  for (unsigned long i = 0; i < buf.dataBytes(); ++i) ASSERT_EQ(buf.data()[i], 0) << i;
  EXPECT_EQ(buf.getNumMessages(), 0);
}

TEST(BufStorage, storage_of_another_size_is_zero_again) {
  StorageBuf buf(3, {{"d", ZRBBuf::column_double}});
  for (long row = 0; row < 3; ++row) buf.setRawDouble(row, 0, 1.5);
  buf.setNumRows(4);
  buf.initData();
  EXPECT_EQ(buf.dataBytes(), 32u);
  for (long row = 0; row < 4; ++row) EXPECT_EQ(bitsOf(buf.getRawDouble(row, 0)), 0u);
  buf.setNumRows(2);
  buf.initData();
  EXPECT_EQ(buf.dataBytes(), 16u);
  for (long row = 0; row < 2; ++row) EXPECT_EQ(bitsOf(buf.getRawDouble(row, 0)), 0u);
}

TEST(BufStorage, an_unchanged_layout_keeps_the_data) {
  StorageBuf buf(3, {{"d", ZRBBuf::column_double}, {"f", ZRBBuf::column_factor}});
  buf.setRawDouble(2, 0, 2.5);
  buf.setRawLevelNum(1, 1, 9);
  char* const block = buf.data();
  buf.initData();
  EXPECT_EQ(buf.data(), block);
  EXPECT_EQ(buf.getRawDouble(2, 0), 2.5);
  EXPECT_EQ(buf.getRawLevelNum(1, 1), 9);
}

TEST(BufStorage, another_layout_of_the_same_size_keeps_the_bytes) {
  StorageBuf buf(4, {{"d", ZRBBuf::column_double}});
  for (long row = 0; row < 4; ++row) buf.setRawTimeDate(row, 0, 100 + row);
  char* const block = buf.data();
  buf.setNumRows(2);
  setColumns(buf, {{"t", ZRBBuf::column_timeDate}, {"u", ZRBBuf::column_timeDate}});
  buf.initData();
  EXPECT_EQ(buf.data(), block);
  EXPECT_EQ(buf.getRawTimeDate(0, 1), 101);
  EXPECT_EQ(buf.getRawTimeDate(1, 0), 102);
}

TEST(BufStorage, laying_out_initialises_the_overflow_counts) {
  StorageBuf buf(3, {{"s", ZRBBuf::column_string, 4}});
  buf.setRawString(0, 0, "abcdef");
  EXPECT_EQ(buf.getOverflowCount(0), 1);
  buf.initData();
  EXPECT_EQ(buf.getOverflowCount(0), 0);
  EXPECT_EQ(buf.getOverflowStringBytes(0), 0);
  EXPECT_STREQ(buf.getRawString(0, 0), "abc");
}

TEST(BufStorage, a_buffer_without_columns_or_rows_needs_no_memory_and_reports_nothing) {
  StorageBuf noColumns(3000, {});
  EXPECT_EQ(noColumns.dataBytes(), 0u);
  EXPECT_EQ(messagesOf(noColumns), Messages{});
  noColumns.initData();
  EXPECT_EQ(messagesOf(noColumns), Messages{});
  StorageBuf noRows(0, {{"d", ZRBBuf::column_double}});
  EXPECT_EQ(noRows.dataBytes(), 0u);
  EXPECT_EQ(noRows.getBytesPerRow(), 8);
  EXPECT_EQ(messagesOf(noRows), Messages{});
}

TEST(BufStorage, more_than_2147483647_bytes_are_refused_and_the_old_block_stays) {
  const struct {
    long rows;
    std::vector<Column> columns;
    const char* error;
  } cases[] = {
      {268435456, {{"d", ZRBBuf::column_double}}, "can't allocate buf larger than 2GB (1 columns, 268435456 rows)"},
      {134217728, {{"b", ZRBBuf::column_blob}}, "can't allocate buf larger than 2GB (1 columns, 134217728 rows)"},
      {2000000000,
       {{"d", ZRBBuf::column_double}, {"f", ZRBBuf::column_factor}},
       "can't allocate buf larger than 2GB (2 columns, 2000000000 rows)"},
      {2, {{"s", ZRBBuf::column_string, 1073741824}}, "can't allocate buf larger than 2GB (1 columns, 2 rows)"},
      // the product needs 64 bits, and does not come round to a small size
      {4294967296,
       {{"s", ZRBBuf::column_string, 4}},
       "can't allocate buf larger than 2GB (1 columns, 4294967296 rows)"},
      // and one that exceeds 64 bits is larger than 2GB, too
      {LONG_MAX,
       {{"d", ZRBBuf::column_double}},
       "can't allocate buf larger than 2GB (1 columns, 9223372036854775807 rows)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    LargeBlockScope large(LargeBlocks::refuse);
    StorageBuf buf(3, {{"t", ZRBBuf::column_timeDate}});
    buf.setRawTimeDate(2, 0, 77);
    char* const block = buf.data();
    buf.setNumRows(c.rows);
    setColumns(buf, c.columns);
    buf.initData();
    EXPECT_EQ(messagesOf(buf), Messages{c.error});
    EXPECT_EQ(buf.data(), block);
    EXPECT_EQ(buf.dataBytes(), 24u);
    long long kept;
    std::memcpy(&kept, block + 16, sizeof kept);
    EXPECT_EQ(kept, 77);
    EXPECT_EQ(buf.getBytesPerRow(), buf.calcBytesPerRow());  // the row is laid out before the size is tested
    EXPECT_EQ(large.requests, std::vector<std::size_t>{});
  }
}

TEST(BufStorage, one_row_less_than_2GB_is_allocated) {
  LargeBlockScope large(LargeBlocks::map);
  StorageBuf buf(3, {{"d", ZRBBuf::column_double}});
  buf.setNumRows(268435455);
  buf.initData();
  EXPECT_EQ(messagesOf(buf), Messages{});
  EXPECT_EQ(buf.dataBytes(), 2147483640u);
  ASSERT_EQ(large.requests.size(), 1u);
  EXPECT_GE(large.requests[0], 2147483640u);
  EXPECT_LE(large.requests[0], 2147483640u + 64u);  // a few spare bytes
  ASSERT_NE(buf.data(), nullptr);
  buf.setRawDouble(268435454, 0, 2.5);
  EXPECT_EQ(buf.getRawDouble(268435454, 0), 2.5);
}

TEST(BufStorage, a_size_of_exactly_2147483647_bytes_is_not_too_large) {
  LargeBlockScope large(LargeBlocks::refuse);
  StorageBuf buf(3, {{"d", ZRBBuf::column_double}});
  buf.setNumRows(1);
  setColumns(buf, {{"s", ZRBBuf::column_string, 2147483647}});
  buf.initData();
  EXPECT_EQ(messagesOf(buf), Messages{"can't allocate buf with 2147483647 bytes (1 columns, 1 rows)"});
  EXPECT_EQ(large.requests.size(), 1u);
}

TEST(BufStorage, a_failed_allocation_is_an_error_and_leaves_no_block) {
  LargeBlockScope large(LargeBlocks::refuse);
  StorageBuf buf(3, {{"d", ZRBBuf::column_double}});
  buf.setRawDouble(0, 0, 2.5);
  buf.setNumRows(10000000);
  buf.initData();
  EXPECT_EQ(messagesOf(buf), Messages{"can't allocate buf with 80000000 bytes (1 columns, 10000000 rows)"});
  EXPECT_EQ(buf.data(), nullptr);
  EXPECT_EQ(buf.dataBytes(), 0u);

  buf.setNumRows(3);  // and the buffer can be used again
  buf.initData();
  EXPECT_EQ(buf.getNumMessages(), 1);
  EXPECT_EQ(buf.dataBytes(), 24u);
  EXPECT_EQ(bitsOf(buf.getRawDouble(0, 0)), 0u);
}

TEST(BufStorage, a_failed_allocation_is_tried_again_by_the_next_layout) {
  StorageBuf buf(3, {{"d", ZRBBuf::column_double}});
  buf.setNumRows(10000000);
  {
    LargeBlockScope large(LargeBlocks::refuse);
    buf.initData();
    buf.initData();
    EXPECT_EQ(large.requests.size(), 2u);
    EXPECT_EQ(buf.getNumMessages(), 2);
  }
  LargeBlockScope large(LargeBlocks::map);
  buf.initData();
  EXPECT_EQ(buf.getNumMessages(), 2);
  EXPECT_EQ(buf.dataBytes(), 80000000u);
}

TEST(BufStorage, a_negative_capacity_is_a_failed_allocation) {
  for (const long rows : {-1L, -2L, -1000L}) {
    StorageBuf buf(3, {{"d", ZRBBuf::column_double}});
    buf.setNumRows(rows);
    buf.initData();
    const std::string rowsText = std::to_string(rows), bytesText = std::to_string(8 * rows);
    EXPECT_EQ(messagesOf(buf),
              Messages{"can't allocate buf with " + bytesText + " bytes (1 columns, " + rowsText + " rows)"});
    EXPECT_EQ(buf.data(), nullptr);
    EXPECT_EQ(buf.dataBytes(), 0u);
  }
}

TEST(BufStorage, text_that_fills_the_last_cell_ends_inside_the_allocation) {
  StorageBuf buf(3, {{"d", ZRBBuf::column_double}, {"s", ZRBBuf::column_string, 4}});
  std::memcpy(buf.getDataPtr(2, 1, 4), "abcd", 4);  // as a file of rows may hold it: no NUL
  EXPECT_STREQ(buf.getRawString(2, 1), "abcd");
  std::memcpy(buf.getDataPtr(2, 1, 4), "\xEF\xBF\xBFx", 4);
  EXPECT_EQ(ZRBObj::isStringNA(buf.getRawString(2, 1)), 0);
}

// ---- Cells ----

TEST(BufStorage, a_cell_lies_at_row_times_bytes_per_row_plus_column_offset) {
  StorageBuf buf(5, {{"f", ZRBBuf::column_factor}, {"d", ZRBBuf::column_double}, {"s", ZRBBuf::column_string, 7}});
  ASSERT_EQ(buf.getBytesPerRow(), 17);
  const long offsets[] = {0, 2, 10};
  for (long row = 0; row < 5; ++row) {
    for (long column = 0; column < 3; ++column) {
      EXPECT_EQ(buf.getDataPtr(row, column, 8) - buf.data(), row * 17 + offsets[column]);
      EXPECT_EQ(buf.getDataPtr(row, column, 0), buf.getDataPtr(row, column, 1000));  // the width is not used
    }
  }
}

TEST(BufStorage, a_double_cell_holds_the_native_bytes_at_any_address) {
  StorageBuf buf(3, {{"s", ZRBBuf::column_string, 5}, {"d", ZRBBuf::column_double}});
  buf.setRawDouble(1, 1, 1.0);
  EXPECT_EQ(buf.bytes(1, 1, 8), "000000000000F03F");
  EXPECT_EQ(buf.getRawDouble(1, 1), 1.0);
  buf.setRawDouble(1, 1, -0.0);
  EXPECT_EQ(buf.bytes(1, 1, 8), "0000000000000080");
  buf.setRawDouble(1, 1, ZRBObj::getDoubleNA());
  EXPECT_EQ(buf.bytes(1, 1, 8), kDoubleNABytes);
  EXPECT_EQ(bitsOf(buf.getRawDouble(1, 1)), kDoubleNABits);
  EXPECT_EQ(buf.bytes(0, 1, 8), "0000000000000000");
  EXPECT_EQ(buf.bytes(2, 1, 8), "0000000000000000");
  EXPECT_EQ(buf.bytes(2, 0, 5), "0000000000");
}

TEST(BufStorage, a_factor_cell_holds_the_level_number_high_byte_first) {
  const struct {
    long level;
    const char* bytes;
    long read;
  } cases[] = {
      {0, "0000", 0},        {1, "0001", 1},         {255, "00FF", 255},       {256, "0100", 256},
      {258, "0102", 258},    {65534, "FFFE", 65534}, {0x8000, "8000", 0x8000}, {65535, "FFFF", -1},  // reads back as NA
      {-1, "FFFF", -1},      {-5, "FFFF", -1},       {LONG_MIN, "FFFF", -1},   {65536, "0000", 0},
      {70000, "1170", 4464}, {0x1FFFF, "FFFF", -1},  // only two bytes are stored
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.level);
    StorageBuf buf(3, {{"f", ZRBBuf::column_factor}, {"g", ZRBBuf::column_factor}});
    buf.setRawLevelNum(1, 0, c.level);
    EXPECT_EQ(buf.bytes(1, 0, 2), c.bytes);
    EXPECT_EQ(buf.getRawLevelNum(1, 0), c.read);
    EXPECT_EQ(buf.bytes(0, 1, 2), "0000");
    EXPECT_EQ(buf.bytes(1, 1, 2), "0000");
  }
}

TEST(BufStorage, a_time_date_cell_holds_the_native_bytes) {
  StorageBuf buf(3, {{"f", ZRBBuf::column_factor}, {"t", ZRBBuf::column_timeDate}});
  buf.setRawTimeDate(1, 1, 0x0102030405060708);
  EXPECT_EQ(buf.bytes(1, 1, 8), "0807060504030201");
  EXPECT_EQ(buf.getRawTimeDate(1, 1), 0x0102030405060708);
  buf.setRawTimeDate(1, 1, -1);
  EXPECT_EQ(buf.bytes(1, 1, 8), "FFFFFFFFFFFFFFFF");
  buf.setRawTimeDate(1, 1, ZRBObj::getTimeDateNA());
  EXPECT_EQ(buf.bytes(1, 1, 8), kTimeDateNABytes);
}

TEST(BufStorage, a_blob_cell_holds_offset_then_length) {
  StorageBuf buf(3, {{"f", ZRBBuf::column_factor}, {"b", ZRBBuf::column_blob}});
  buf.setRawBlobOffset(1, 1, 0x0102030405060708);
  buf.setRawBlobLength(1, 1, 5);
  EXPECT_EQ(buf.bytes(1, 1, 16), "08070605040302010500000000000000");
  EXPECT_EQ(buf.getRawBlobOffset(1, 1), 0x0102030405060708);
  EXPECT_EQ(buf.getRawBlobLength(1, 1), 5);
  EXPECT_EQ(buf.bytes(0, 1, 16), "00000000000000000000000000000000");
  EXPECT_EQ(buf.bytes(2, 0, 2), "0000");
}

TEST(BufStorage, a_string_cell_is_padded_with_zero_bytes) {
  StorageBuf buf(3, {{"s", ZRBBuf::column_string, 8}, {"f", ZRBBuf::column_factor}});
  const struct {
    const char* text;
    const char* bytes;
  } cases[] = {
      {"abcdefg", "6162636465666700"},  // fills the cell
      {"ab", "6162000000000000"},       // nothing of the longer text is left
      {"", "0000000000000000"},        {nullptr, "EFBFBF0000000000"}, {ZRBObj::getStringNA(), "EFBFBF0000000000"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(copyOf(c.text));
    buf.setRawString(1, 0, c.text);
    EXPECT_EQ(buf.bytes(1, 0, 8), c.bytes);
    EXPECT_EQ(buf.bytes(0, 0, 8), "0000000000000000");
    EXPECT_EQ(buf.bytes(1, 1, 2), "0000");
  }
  EXPECT_EQ(buf.getRawString(1, 0), buf.getDataPtr(1, 0, 8));  // the cell itself
  EXPECT_EQ(buf.getOverflowCount(0), 0);
}

TEST(BufStorage, the_raw_operations_do_not_look_at_the_type_of_the_column) {
  StorageBuf buf(3, {{"b", ZRBBuf::column_blob}});
  buf.setRawDouble(1, 0, 1.0);
  EXPECT_EQ(buf.bytes(1, 0, 8), "000000000000F03F");
  EXPECT_EQ(buf.getRawTimeDate(1, 0), 0x3FF0000000000000);
  buf.setRawLevelNum(1, 0, 258);
  EXPECT_EQ(buf.bytes(1, 0, 2), "0102");
}

// ---- Truncation ----

TEST(BufStorage, a_text_longer_than_its_cell_is_cut_and_counted) {
  const struct {
    const char* text;
    const char* kept;
    long long overflows;
    long overflowBytes;
  } cases[] = {
      {"abc", "abc", 0, 0},   // three characters and the NUL fit
      {"abcd", "abc", 1, 5},  // the NUL does not
      {"abcdef", "abc", 1, 7}, {"", "", 0, 0}, {nullptr, "\xEF\xBF\xBF", 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(copyOf(c.text));
    StorageBuf buf(3, {{"s", ZRBBuf::column_string, 4}, {"f", ZRBBuf::column_factor}});
    buf.setRawString(2, 0, c.text);
    EXPECT_STREQ(buf.getRawString(2, 0), c.kept);
    EXPECT_EQ(buf.getOverflowCount(0), c.overflows);
    EXPECT_EQ(buf.getOverflowStringBytes(0), c.overflowBytes);
    EXPECT_EQ(buf.bytes(2, 1, 2), "0000");
    EXPECT_EQ(buf.getNumMessages(), 0);
  }
}

TEST(BufStorage, the_overflow_string_bytes_are_those_of_the_longest_text) {
  StorageBuf buf(3, {{"s", ZRBBuf::column_string, 4}});
  const struct {
    const char* text;
    long overflowBytes;
  } writes[] = {{"abcde", 6}, {"abcdefghi", 10}, {"abcdef", 10}, {"ab", 10}};
  for (const auto& write : writes) {
    buf.setRawString(0, 0, write.text);
    EXPECT_EQ(buf.getOverflowStringBytes(0), write.overflowBytes);
  }
  EXPECT_EQ(buf.getOverflowCount(0), 3);
  buf.setOverflowStringBytes(0, 100);  // a larger value of the host's stays
  buf.setRawString(0, 0, "abcdef");
  EXPECT_EQ(buf.getOverflowStringBytes(0), 100);
}

TEST(BufStorage, only_the_first_truncation_of_a_column_is_an_error_when_the_flag_is_set) {
  SavedSettings saved;
  ZRBObj::setErrorOnStringTruncation(1);
  StorageBuf buf(
      3, {{"s", ZRBBuf::column_string, 4}, {nullptr, ZRBBuf::column_string, 4}, {"", ZRBBuf::column_string, 4}});
  buf.setRawString(0, 0, "abcdef");
  EXPECT_EQ(messagesOf(buf), Messages{"string truncated in column s"});
  EXPECT_EQ(buf.getOverflowCount(0), 1);
  EXPECT_EQ(buf.getOverflowStringBytes(0), 7);
  buf.setRawString(1, 0, "abcdef");
  EXPECT_EQ(messagesOf(buf), Messages{"string truncated in column s"});
  EXPECT_EQ(buf.getOverflowCount(0), 2);
  buf.setRawString(0, 1, "abcdef");
  buf.setRawString(0, 2, "abcdef");
  EXPECT_EQ(messagesOf(buf),
            (Messages{"string truncated in column s", "string truncated in column ??", "string truncated in column "}));
}

TEST(BufStorage, an_error_on_truncation_depends_on_the_count_alone) {
  const struct {
    const char* reason;
    long long countBefore;
    int flag;
    bool error;
  } cases[] = {
      {"the first", 0, 1, true},
      {"any nonzero flag", 0, -3, true},
      {"flag clear", 0, 0, false},
      {"the second", 1, 1, false},
      {"a negative count of the host's", -5, 1, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    SavedSettings saved;
    ZRBObj::setErrorOnStringTruncation(c.flag);
    StorageBuf buf(3, {{"s", ZRBBuf::column_string, 4}});
    buf.setOverflowCount(0, c.countBefore);
    buf.setRawString(0, 0, "abcdef");
    EXPECT_EQ(messagesOf(buf), c.error ? Messages{"string truncated in column s"} : Messages{});
    EXPECT_EQ(buf.getOverflowCount(0), c.countBefore + 1);
  }
}

TEST(BufStorage, the_truncation_message_of_a_long_column_name_is_cut_like_any_message) {
  SavedSettings saved;
  ZRBObj::setErrorOnStringTruncation(1);
  const std::string name = "%s%n" + std::string(3000, 'n');
  StorageBuf buf(3, {{name.c_str(), ZRBBuf::column_string, 4}});
  buf.setRawString(0, 0, "abcdef");
  EXPECT_EQ(messagesOf(buf), Messages{("string truncated in column " + name).substr(0, 500)});
}

TEST(BufStorage, a_truncated_character_of_several_bytes_is_cut_in_the_middle) {
  StorageBuf buf(3, {{"s", ZRBBuf::column_string, 4}});
  buf.setRawString(0, 0, "ab\xC3\xA9");
  EXPECT_STREQ(buf.getRawString(0, 0), "ab\xC3");
}

TEST(BufStorage, a_text_for_a_column_that_does_not_exist_goes_nowhere_and_is_a_truncation) {
  const SavedSettings settings;
  ZRBObj::setErrorOnStringTruncation(1);
  StorageBuf buf(3, oneColumnOfEachType());
  buf.setRawString(0, 5, "text");
  buf.setRawStringColumnNA(1, -1, 2);
  EXPECT_EQ(messagesOf(buf), Messages(3, "string truncated in column ??"));
  for (unsigned long i = 0; i < buf.dataBytes(); ++i) ASSERT_EQ(buf.data()[i], 0) << i;
  EXPECT_EQ(buf.anyOverflowCounts(), 0);
}

TEST(BufStorage, a_text_for_a_column_of_another_type_fills_its_cell) {
  StorageBuf buf(3, oneColumnOfEachType());
  buf.setRawString(0, 0, "abc");
  EXPECT_EQ(buf.bytes(0, 0, 8), "6162630000000000");
  buf.setRawString(0, 1, "abc");  // two bytes
  EXPECT_EQ(buf.bytes(0, 1, 2), "6100");
  EXPECT_EQ(buf.getOverflowCount(1), 1);
  EXPECT_EQ(buf.getOverflowStringBytes(1), 4);
  buf.setRawStringColumnNA(1, 1, 2);
  EXPECT_EQ(buf.bytes(2, 1, 2), "EF00");
  EXPECT_EQ(buf.getOverflowCount(1), 3);
}

TEST(BufStorage, a_cell_may_be_copied_onto_itself) {
  StorageBuf buf(3, {{"s", ZRBBuf::column_string, 8}});
  buf.setRawString(0, 0, "abc");
  buf.setRawString(0, 0, buf.getRawString(0, 0));
  EXPECT_EQ(buf.bytes(0, 0, 8), "6162630000000000");
  buf.setRawString(0, 0, "abcdefg");
  buf.setRawString(0, 0, buf.getRawString(0, 0) + 2);  // or a part of it
  EXPECT_EQ(buf.bytes(0, 0, 8), "6364656667000000");
}

// ---- Column runs ----

namespace {

struct RingRun {
  long capacity, row, count;
  std::vector<long> written;  // storage rows in order
};

const RingRun kRuns[] = {
    {7, 0, 1, {0}},
    {7, 2, 3, {2, 3, 4}},
    {7, 5, 5, {5, 6, 0, 1, 2}},  // capacity - 2 onwards wraps
    {7, 6, 1, {6}},
    {7, 6, 2, {6, 0}},
    {7, 3, 7, {3, 4, 5, 6, 0, 1, 2}},  // once round
    {1, 0, 1, {0}},
    {1, 0, 3, {0, 0, 0}},  // more cells than rows: the last ones stay
    {2, 1, 4, {1, 0, 1, 0}},
    {3, 1, 8, {1, 2, 0, 1, 2, 0, 1, 2}},
    {7, 2, 0, {}},
    {7, 2, -3, {}},
    {7, 2, LONG_MIN, {}},
};

}  // namespace

TEST(BufStorage, NA_runs_write_consecutive_rows_and_wrap_at_the_end_of_the_ring) {
  struct FillRun {
    const char* name;
    long column, bytes;
    const char* na;
    void (ZRBBuf::*set)(long, long, long);
  };
  const FillRun runs[] = {
      {"double", 0, 8, kDoubleNABytes, &ZRBBuf::setRawDoubleColumnNA},
      {"factor", 1, 2, "FFFF", &ZRBBuf::setRawFactorColumnNA},
      {"string", 2, 4, kStringNABytes, &ZRBBuf::setRawStringColumnNA},
      {"timeDate", 3, 8, kTimeDateNABytes, &ZRBBuf::setRawTimeDateColumnNA},
      {"blob", 4, 16, kBlobNABytes, &ZRBBuf::setRawBlobColumnNA},
  };
  std::vector<Column> columns = oneColumnOfEachType();
  columns[2].stringBytes = 4;
  for (const FillRun& na : runs) {
    for (const RingRun& run : kRuns) {
      SCOPED_TRACE(testing::Message() << na.name << ": " << run.count << " from row " << run.row << " of "
                                      << run.capacity);
      StorageBuf buf(run.capacity, columns);
      std::memset(buf.data(), 0x5A, buf.dataBytes());
      (buf.*na.set)(run.row, na.column, run.count);
      std::vector<bool> written(static_cast<std::size_t>(run.capacity));
      for (const long row : run.written) written[static_cast<std::size_t>(row)] = true;
      for (long row = 0; row < run.capacity; ++row) {
        for (const FillRun& other : runs) {
          std::string expected;
          for (long i = 0; i < other.bytes; ++i) expected += "5A";
          if (other.column == na.column && written[static_cast<std::size_t>(row)]) expected = na.na;
          EXPECT_EQ(buf.bytes(row, other.column, other.bytes), expected) << "row " << row << ", column " << other.name;
        }
      }
      EXPECT_EQ(buf.getNumMessages(), 0);
      EXPECT_EQ(buf.anyOverflowCounts(), 0);
    }
  }
}

TEST(BufStorage, a_string_NA_run_pads_the_cells_with_zero_bytes) {
  StorageBuf buf(3, {{"s", ZRBBuf::column_string, 9}});
  for (long row = 0; row < 3; ++row) buf.setRawString(row, 0, "abcdefgh");
  buf.setRawStringColumnNA(2, 0, 2);
  EXPECT_EQ(buf.bytes(2, 0, 9), "EFBFBF000000000000");
  EXPECT_EQ(buf.bytes(0, 0, 9), "EFBFBF000000000000");
  EXPECT_STREQ(buf.getRawString(1, 0), "abcdefgh");
}

TEST(BufStorage, arrays_of_doubles_are_stored_and_fetched_in_order_and_wrap) {
  for (const RingRun& run : kRuns) {
    SCOPED_TRACE(testing::Message() << run.count << " from row " << run.row << " of " << run.capacity);
    StorageBuf buf(run.capacity, {{"s", ZRBBuf::column_string, 5}, {"d", ZRBBuf::column_double}});
    for (long row = 0; row < run.capacity; ++row) buf.setRawDouble(row, 1, -1.0);
    std::vector<double> expected(static_cast<std::size_t>(run.capacity), -1.0);
    std::vector<double> values(16);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = 100.0 + static_cast<double>(i);
    for (std::size_t i = 0; i < run.written.size(); ++i) expected[static_cast<std::size_t>(run.written[i])] = values[i];

    buf.setRawDoubleArray(run.row, 1, run.count, values.data());
    for (long row = 0; row < run.capacity; ++row) {
      EXPECT_EQ(buf.getRawDouble(row, 1), expected[static_cast<std::size_t>(row)]) << "row " << row;
      EXPECT_EQ(buf.bytes(row, 0, 5), "0000000000");
    }

    std::vector<double> fetched(16, -2.0);
    buf.getRawDoubleArray(run.row, 1, run.count, fetched.data());
    for (std::size_t i = 0; i < fetched.size(); ++i)
      EXPECT_EQ(fetched[i], i < run.written.size() ? expected[static_cast<std::size_t>(run.written[i])] : -2.0) << i;
  }
}

TEST(BufStorage, arrays_of_doubles_keep_the_bytes_of_every_value) {
  StorageBuf buf(3, {{"f", ZRBBuf::column_factor}, {"d", ZRBBuf::column_double}});
  double values[] = {ZRBObj::getDoubleNA(), std::numeric_limits<double>::quiet_NaN(), -0.0};
  double fetched[3];
  buf.setRawDoubleArray(2, 1, 3, values);
  buf.getRawDoubleArray(2, 1, 3, fetched);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(bitsOf(fetched[i]), bitsOf(values[i])) << i;
}

TEST(BufStorage, runs_of_a_ring_without_rows_do_nothing) {
  for (const long capacity : {0L, -1L}) {
    SCOPED_TRACE(capacity);
    StorageBuf buf(3, oneColumnOfEachType());
    buf.setNumRows(capacity);
    double value = -2.0;
    buf.setRawDoubleColumnNA(0, 0, 2);
    buf.setRawFactorColumnNA(0, 1, 2);
    buf.setRawStringColumnNA(0, 2, 2);
    buf.setRawTimeDateColumnNA(0, 3, 2);
    buf.setRawBlobColumnNA(0, 4, 2);
    buf.setRawDoubleArray(0, 0, 1, &value);
    buf.getRawDoubleArray(0, 0, 1, &value);
    EXPECT_EQ(value, -2.0);
    for (unsigned long i = 0; i < buf.dataBytes(); ++i) ASSERT_EQ(buf.data()[i], 0) << i;
  }
}

// ---- Byte order ----

namespace {

// Rows whose 8-byte numbers tell their row and field.
void fillWithNumbers(StorageBuf& buf) {
  for (long row = 0; row < buf.getNumRows(); ++row) {
    buf.setRawTimeDate(row, 0, 0x0102030405060700 + row);
    buf.setRawLevelNum(row, 1, 0x0102);
    buf.setRawString(row, 2, "abcdefgh");
    buf.setRawTimeDate(row, 3, 0x1112131415161700 + row);
    buf.setRawBlobOffset(row, 4, 0x2122232425262700 + row);
    buf.setRawBlobLength(row, 4, 0x3132333435363700 + row);
  }
}

std::string hexByte(long value) {
  char digits[20];
  std::snprintf(digits, sizeof digits, "%02lX", value);
  return digits;
}

}  // namespace

TEST(BufStorage, byte_swapping_reverses_the_8_byte_numbers_of_a_run_of_rows) {
  const struct {
    long capacity;
    long long position;
    long count;
    std::vector<long> swapped;  // storage rows
  } cases[] = {
      {7, 0, 1, {0}},
      {7, 2, 3, {2, 3, 4}},
      {7, 5, 4, {5, 6, 0, 1}},                  // wraps
      {7, 7 * 1000000000000LL + 6, 2, {6, 0}},  // positions are stream rows
      {7, 0, 7, {0, 1, 2, 3, 4, 5, 6}},
      {3, 1, 5, {0}},  // rows 1, 2, 0, 1, 2: those met twice are as before
      {7, 0, 0, {}},
      {7, 0, -1, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.count << " rows from " << c.position << " of " << c.capacity);
    StorageBuf buf(c.capacity, oneColumnOfEachType());
    fillWithNumbers(buf);
    buf.byteSwapBufNumbers(c.position, c.count);
    for (long row = 0; row < c.capacity; ++row) {
      SCOPED_TRACE(testing::Message() << "storage row " << row);
      bool swapped = false;
      for (const long each : c.swapped) swapped = swapped || each == row;
      const std::string last = hexByte(row);
      EXPECT_EQ(buf.bytes(row, 0, 8), swapped ? "01020304050607" + last : last + "07060504030201");
      EXPECT_EQ(buf.bytes(row, 1, 2), "0102");
      EXPECT_EQ(buf.bytes(row, 2, 16), "61626364656667680000000000000000");
      EXPECT_EQ(buf.bytes(row, 3, 8), swapped ? "11121314151617" + last : last + "17161514131211");
      EXPECT_EQ(buf.bytes(row, 4, 16), swapped ? "21222324252627" + last + "31323334353637" + last
                                               : last + "27262524232221" + last + "37363534333231");
    }
  }
}

TEST(BufStorage, byte_swapping_twice_restores_the_rows) {
  StorageBuf buf(5, oneColumnOfEachType());
  fillWithNumbers(buf);
  const std::string before(buf.data(), buf.dataBytes());
  buf.byteSwapBufNumbers(3, 4);
  EXPECT_NE(std::string(buf.data(), buf.dataBytes()), before);
  buf.byteSwapBufNumbers(3, 4);
  EXPECT_EQ(std::string(buf.data(), buf.dataBytes()), before);
}

TEST(BufStorage, byte_swapping_a_ring_without_rows_does_nothing) {
  StorageBuf buf(3, oneColumnOfEachType());
  fillWithNumbers(buf);
  const std::string before(buf.data(), buf.dataBytes());
  buf.setNumRows(0);
  buf.byteSwapBufNumbers(0, 2);
  EXPECT_EQ(std::string(buf.data(), buf.dataBytes()), before);
}

// ---- Column copies ----

namespace {

using CopyColumn = void (ZRBBuf::*)(ZRBBufWriter*, long, long, ZRBBufReader*, long, long, long);

struct CopyOfType {
  ZRBBuf::column_type type;
  CopyColumn copy;
};

const CopyOfType kCopies[] = {
    {ZRBBuf::column_double, &ZRBBuf::copyDoubleColumn},
    {ZRBBuf::column_factor, &ZRBBuf::copyFactorColumn},
    {ZRBBuf::column_string, &ZRBBuf::copyStringColumn},
    {ZRBBuf::column_timeDate, &ZRBBuf::copyTimeDateColumn},
};

// A source and a target buffer, each with one end at work.
struct CopyHarness {
  FlowHarness<> source, target;
  CopyHarness(long sourceRows, const std::vector<Column>& sourceColumns, long targetRows,
              const std::vector<Column>& targetColumns)
      : source(sourceRows, sourceColumns), target(targetRows, targetColumns) {}
};

}  // namespace

TEST(BufStorage, a_column_copy_wraps_on_each_side_on_its_own_ring) {
  CopyHarness h(5, {{"f", ZRBBuf::column_factor}, {"d", ZRBBuf::column_double}}, 7,
                {{"d", ZRBBuf::column_double}, {"s", ZRBBuf::column_string, 5}, {"t", ZRBBuf::column_timeDate}});
  h.source.pass(3);  // the reader's chunk begins in ring row 3 of 5
  h.target.pass(5);  // the writer's chunk begins in ring row 5 of 7
  for (long row = 0; row < 5; ++row) h.source.buf.setRawDouble(row, 1, 10.0 + static_cast<double>(row));
  h.target.buf.copyDoubleColumn(&h.target.writer, 1, 0, &h.source.reader, 1, 1, 4);
  // reader rows 1..4 are ring rows 4, 0, 1, 2; writer rows 1..4 are ring rows 6, 0, 1, 2
  const double expected[] = {10.0, 11.0, 12.0, 0.0, 0.0, 0.0, 14.0};
  for (long row = 0; row < 7; ++row) EXPECT_EQ(h.target.buf.getRawDouble(row, 0), expected[row]) << "ring row " << row;
  EXPECT_EQ(h.target.producer.getNumMessages() + h.source.consumer.getNumMessages(), 0);
}

TEST(BufStorage, a_column_copy_goes_into_the_writers_buffer_whichever_is_asked) {
  CopyHarness h(3, {{"d", ZRBBuf::column_double}}, 3, {{"d", ZRBBuf::column_double}});
  for (long row = 0; row < 3; ++row) h.source.buf.setRawDouble(row, 0, 10.0 + static_cast<double>(row));
  h.source.buf.copyDoubleColumn(&h.target.writer, 1, 0, &h.source.reader, 0, 0, 2);
  const double expected[] = {0.0, 10.0, 11.0};
  for (long row = 0; row < 3; ++row) {
    EXPECT_EQ(h.target.buf.getRawDouble(row, 0), expected[row]);
    EXPECT_EQ(h.source.buf.getRawDouble(row, 0), 10.0 + static_cast<double>(row));
  }
}

TEST(BufStorage, a_column_copy_after_everything_was_released_begins_at_ring_row_0) {
  CopyHarness h(5, {{"d", ZRBBuf::column_double}}, 5, {{"d", ZRBBuf::column_double}});
  h.source.pass(3);
  for (long row = 0; row < 5; ++row) h.source.buf.setRawDouble(row, 0, 10.0 + static_cast<double>(row));
  h.source.reader.releaseAll();
  h.target.buf.copyDoubleColumn(&h.target.writer, 0, 0, &h.source.reader, 2, 0, 2);
  EXPECT_EQ(h.target.buf.getRawDouble(0, 0), 10.0);
  EXPECT_EQ(h.target.buf.getRawDouble(1, 0), 11.0);
}

TEST(BufStorage, doubles_and_time_dates_are_copied_bit_for_bit) {
  CopyHarness h(4, {{"d", ZRBBuf::column_double}, {"t", ZRBBuf::column_timeDate}}, 4,
                {{"t", ZRBBuf::column_timeDate}, {"f", ZRBBuf::column_factor}, {"d", ZRBBuf::column_double}});
  const double doubles[] = {ZRBObj::getDoubleNA(), std::numeric_limits<double>::quiet_NaN(), -0.0, 1.5};
  const long long times[] = {ZRBObj::getTimeDateNA(), 0x7FFFFFFFFFFFFFF5, -1, LLONG_MIN};
  for (long row = 0; row < 4; ++row) {
    h.source.buf.setRawDouble(row, 0, doubles[row]);
    h.source.buf.setRawTimeDate(row, 1, times[row]);
  }
  h.target.buf.copyDoubleColumn(&h.target.writer, 0, 2, &h.source.reader, 0, 0, 4);
  h.target.buf.copyTimeDateColumn(&h.target.writer, 0, 0, &h.source.reader, 0, 1, 4);
  for (long row = 0; row < 4; ++row) {
    EXPECT_EQ(bitsOf(h.target.buf.getRawDouble(row, 2)), bitsOf(doubles[row]));
    EXPECT_EQ(h.target.buf.getRawTimeDate(row, 0), times[row]);
  }
}

TEST(BufStorage, strings_are_copied_into_the_width_of_the_target_and_counted_there) {
  SavedSettings saved;
  ZRBObj::setErrorOnStringTruncation(1);
  CopyHarness h(4, {{"s", ZRBBuf::column_string, 10}}, 4,
                {{"d", ZRBBuf::column_double}, {"u", ZRBBuf::column_string, 4}});
  const char* const texts[] = {"abcdef", "ab", nullptr, "abcdefgh"};
  for (long row = 0; row < 4; ++row) h.source.buf.setRawString(row, 0, texts[row]);
  for (long row = 0; row < 4; ++row) h.target.buf.setRawString(row, 1, "xyz");
  h.target.buf.copyStringColumn(&h.target.writer, 0, 1, &h.source.reader, 0, 0, 4);
  EXPECT_STREQ(h.target.buf.getRawString(0, 1), "abc");
  EXPECT_EQ(std::string(h.target.buf.getRawString(1, 1), 4), std::string("ab\0\0", 4));
  EXPECT_TRUE(ZRBObj::isStringNA(h.target.buf.getRawString(2, 1)));
  EXPECT_STREQ(h.target.buf.getRawString(3, 1), "abc");
  EXPECT_EQ(h.target.buf.getOverflowCount(1), 2);
  EXPECT_EQ(h.target.buf.getOverflowStringBytes(1), 9);
  EXPECT_EQ(messagesOf(h.target.buf), Messages{"string truncated in column u"});
  EXPECT_EQ(h.source.buf.getOverflowCount(0), 0);
  EXPECT_EQ(messagesOf(h.source.buf), Messages{});
  EXPECT_EQ(messagesOf(h.target.producer), Messages{});
}

TEST(BufStorage, a_wider_target_is_padded_with_zero_bytes) {
  CopyHarness h(2, {{"s", ZRBBuf::column_string, 4}}, 2, {{"s", ZRBBuf::column_string, 8}});
  h.source.buf.setRawString(0, 0, "abc");
  h.target.buf.setRawString(0, 0, "1234567");
  h.target.buf.copyStringColumn(&h.target.writer, 0, 0, &h.source.reader, 0, 0, 1);
  EXPECT_EQ(std::string(h.target.buf.getRawString(0, 0), 8), std::string("abc\0\0\0\0\0", 8));
}

TEST(BufStorage, factors_are_copied_by_the_names_of_their_levels) {
  CopyHarness h(8, {{"f", ZRBBuf::column_factor}}, 8, {{"d", ZRBBuf::column_double}, {"g", ZRBBuf::column_factor}});
  for (const char* level : {"a", "b", "c", "d"}) h.source.buf.addLevel(0, level);
  h.source.buf.setNumLevels(0, 5);  // level 4 has no name
  h.source.buf.addLevel(0, "");     // level 5 has an empty one
  h.target.buf.addLevel(1, "b");
  h.target.buf.addLevel(1, "a");
  h.target.buf.setMaxAutoLevels(1, 3);
  const long levels[] = {1, 0, -1, 2, 3, 4, 5, 60000};  // b a NA c d - "" none
  for (long row = 0; row < 8; ++row) h.source.buf.setRawLevelNum(row, 0, levels[row]);
  h.target.buf.copyFactorColumn(&h.target.writer, 0, 1, &h.source.reader, 0, 0, 8);
  const long expected[] = {0, 1, -1, 2, -1, -1, -1, -1};  // "c" is added, "d" overflows
  for (long row = 0; row < 8; ++row) EXPECT_EQ(h.target.buf.getRawLevelNum(row, 1), expected[row]) << "row " << row;
  EXPECT_EQ(h.target.buf.getNumLevels(1), 3);
  EXPECT_STREQ(h.target.buf.getLevelName(1, 2), "c");
  EXPECT_EQ(h.target.buf.getOverflowCount(1), 1);
  EXPECT_EQ(h.source.buf.getNumLevels(0), 6);
}

TEST(BufStorage, every_copied_cell_that_overflows_is_counted) {
  SavedSettings saved;
  ZRBObj::setErrorOnLevelOverflow(1);
  CopyHarness h(4, {{"f", ZRBBuf::column_factor}}, 4, {{"g", ZRBBuf::column_factor}});
  for (const char* level : {"a", "b"}) h.source.buf.addLevel(0, level);
  for (long row = 0; row < 4; ++row) h.source.buf.setRawLevelNum(row, 0, row % 2);
  h.target.buf.setMaxAutoLevels(0, 1);
  h.target.buf.copyFactorColumn(&h.target.writer, 0, 0, &h.source.reader, 0, 0, 4);
  const long expected[] = {0, -1, 0, -1};
  for (long row = 0; row < 4; ++row) EXPECT_EQ(h.target.buf.getRawLevelNum(row, 0), expected[row]);
  EXPECT_EQ(h.target.buf.getOverflowCount(0), 2);
  EXPECT_EQ(messagesOf(h.target.buf), Messages{"factor level overflow in column g"});
}

TEST(BufStorage, levels_are_added_in_the_order_of_the_copied_cells) {
  CopyHarness h(3, {{"f", ZRBBuf::column_factor}}, 3, {{"g", ZRBBuf::column_factor}});
  for (const char* level : {"a", "b", "c"}) h.source.buf.addLevel(0, level);
  const long levels[] = {2, 0, 1};
  for (long row = 0; row < 3; ++row) h.source.buf.setRawLevelNum(row, 0, levels[row]);
  h.target.buf.copyFactorColumn(&h.target.writer, 0, 0, &h.source.reader, 0, 0, 3);
  EXPECT_STREQ(h.target.buf.getLevelName(0, 0), "c");
  EXPECT_STREQ(h.target.buf.getLevelName(0, 1), "a");
  EXPECT_STREQ(h.target.buf.getLevelName(0, 2), "b");
}

TEST(BufStorage, a_column_copy_needs_its_own_type_on_both_sides) {
  for (const CopyOfType& copy : kCopies) {
    for (long sourceColumn = 0; sourceColumn < 5; ++sourceColumn) {
      for (long targetColumn = 0; targetColumn < 5; ++targetColumn) {
        SCOPED_TRACE(testing::Message() << "copy of type " << copy.type << " from " << sourceColumn << " to "
                                        << targetColumn);
        CopyHarness h(3, oneColumnOfEachType(), 3, oneColumnOfEachType());
        std::memset(h.source.buf.getDataPtr(0, 0, 0), 'A', static_cast<std::size_t>(3 * h.source.buf.getBytesPerRow()));
        h.source.buf.setRawLevelNum(1, 1, 0);
        h.source.buf.addLevel(1, "a");
        h.source.buf.setRawString(1, 2, "text");
        h.target.buf.addLevel(1, "other");
        const std::string before(h.target.buf.getDataPtr(0, 0, 0),
                                 static_cast<std::size_t>(3 * h.target.buf.getBytesPerRow()));
        (h.target.buf.*copy.copy)(&h.target.writer, 1, targetColumn, &h.source.reader, 1, sourceColumn, 1);
        const std::string after(h.target.buf.getDataPtr(0, 0, 0), before.size());
        EXPECT_EQ(after != before, sourceColumn == copy.type && targetColumn == copy.type);
        EXPECT_EQ(h.target.buf.getNumMessages(), 0);
        EXPECT_EQ(h.target.producer.getNumMessages(), 0);
        EXPECT_EQ(h.source.consumer.getNumMessages(), 0);
      }
    }
  }
}

TEST(BufStorage, a_column_copy_of_no_rows_or_without_capacity_does_nothing) {
  const struct {
    const char* reason;
    long sourceCapacity, targetCapacity, count;
    bool copied;
  } cases[] = {
      {"one row", 3, 3, 1, true},
      {"no rows", 3, 3, 0, false},
      {"negative rows", 3, 3, -1, false},
      {"no capacity on the reading side", 0, 3, 1, false},
      {"no capacity on the writing side", 3, 0, 1, false},
  };
  for (const auto& c : cases) {
    for (const CopyOfType& copy : kCopies) {
      SCOPED_TRACE(testing::Message() << c.reason << ", type " << copy.type);
      CopyHarness h(3, oneColumnOfEachType(), 3, oneColumnOfEachType());
      std::memset(h.source.buf.getDataPtr(0, 0, 0), 'A', static_cast<std::size_t>(3 * h.source.buf.getBytesPerRow()));
      h.source.buf.setRawLevelNum(0, 1, -1);
      h.source.buf.setRawString(0, 2, "text");
      const std::string before(h.target.buf.getDataPtr(0, 0, 0),
                               static_cast<std::size_t>(3 * h.target.buf.getBytesPerRow()));
      h.source.buf.setNumRows(c.sourceCapacity);
      h.target.buf.setNumRows(c.targetCapacity);
      (h.target.buf.*copy.copy)(&h.target.writer, 0, copy.type, &h.source.reader, 0, copy.type, c.count);
      const std::string after(h.target.buf.getDataPtr(0, 0, 0), before.size());
      EXPECT_EQ(after != before, c.copied);
    }
  }
}
