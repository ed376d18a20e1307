// Slots, fields and symbols of the identity, printf and linear model nodes.
#include <dlfcn.h>

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/BinaryInterface.h"
#include "support/ElfSymbols.h"
#include "support/PropertyCall.h"
#include "zrbbase.h"

namespace {

// ---- Sizes and fields ----

static_assert(sizeof(ZRBProc) == 160);
static_assert(sizeof(ZRBProcIdentity) == 168);
static_assert(sizeof(ZRBProcPrintf) == 168);
static_assert(sizeof(ZRBProcLm) == 208);

template <class Node>
void expectNumberToPrintAt160() {
  Node node;
  EXPECT_EQ(valueAt<int>(&node, 160), 2);
  PropertyCall("num.to.print").with(0x12345678).set(node);
  EXPECT_EQ(valueAt<int>(&node, 160), 0x12345678);
}

TEST(TraceFields, of_an_identity_and_a_printf_node_are_the_number_to_print) {
  expectNumberToPrintAt160<ZRBProcIdentity>();
  expectNumberToPrintAt160<ZRBProcPrintf>();
}

TEST(LmFields, are_the_four_arrays_and_their_sizes) {
  ZRBProcLm node;
  for (const std::size_t offset : {160u, 168u, 176u, 184u}) EXPECT_EQ(valueAt<double*>(&node, offset), nullptr);
  EXPECT_EQ(valueAt<long>(&node, 192), -1);
  EXPECT_EQ(valueAt<long>(&node, 200), -1);

  // y = 2 + 3 x in one chunk of three rows: x = 0, 1, 2.
  ZRBMemoryBuf buf;
  ZRBProcNullReader source;
  buf.setNumColumns(2);
  source.setOutputBuf(0, &buf);
  node.setInputBuf(0, &buf);
  node.setNumRows(3);
  ASSERT_EQ(buf.init(), 0);
  ASSERT_EQ(node.init(), 0);
  EXPECT_EQ(valueAt<long>(&node, 192), 3) << "the row capacity";
  EXPECT_EQ(valueAt<long>(&node, 200), 2) << "the columns";
  ZRBBufWriter& writer = *source.getOutputBufWriter(0);
  for (long row = 0; row < 3; ++row) {
    writer.setDouble(row, 0, 2.0 + 3.0 * static_cast<double>(row));
    writer.setDouble(row, 1, static_cast<double>(row));
  }
  writer.releaseRows(3);
  ASSERT_EQ(node.execute(), 3);
  node.calcResults();

  // R = (-sqrt 3, -sqrt 3; 0, sqrt 2) up to the sign of its rows, and z = R (2, 3)'.
  const double* const work = valueAt<double*>(&node, 160);
  const double* const rhs = valueAt<double*>(&node, 168);
  const double* const factor = valueAt<double*>(&node, 176);
  const double* const results = valueAt<double*>(&node, 184);
  EXPECT_NEAR(factor[0] * factor[0], 3, 1e-14);
  EXPECT_EQ(factor[1], 0);
  EXPECT_NEAR(factor[0] * factor[2], 3, 1e-14);
  EXPECT_NEAR(factor[3] * factor[3], 2, 1e-14);
  EXPECT_NEAR(rhs[0] * factor[0], 15, 1e-13);
  EXPECT_NEAR(rhs[1] * factor[3], 6, 1e-13);
  EXPECT_NEAR(results[0], 2, 1e-14);
  EXPECT_NEAR(results[1], 3, 1e-14);
  EXPECT_EQ(node.getResult(1), results[1]);
  // The stack of the update, three rows long.
  EXPECT_EQ(work[0], factor[0]);
  EXPECT_EQ(work[3], factor[2]);
  EXPECT_EQ(work[4], factor[3]);
}

// ---- Slots ----

struct NodeSlots {
  const char* name;
  std::size_t init, setProperty, getProperty, execute;
};

TEST(TraceAndFitSlots, a_node_declares_its_operations_in_the_slots_of_its_base) {
  const NodeSlots nodes[] = {
      {"ZRBProcIdentity", slotOf(&ZRBProcIdentity::init), slotOf(&ZRBProcIdentity::setProperty),
       slotOf(&ZRBProcIdentity::getProperty), slotOf(&ZRBProcIdentity::execute)},
      {"ZRBProcPrintf", slotOf(&ZRBProcPrintf::init), slotOf(&ZRBProcPrintf::setProperty),
       slotOf(&ZRBProcPrintf::getProperty), slotOf(&ZRBProcPrintf::execute)},
      {"ZRBProcLm", slotOf(&ZRBProcLm::init), slotOf(&ZRBProcLm::setProperty), slotOf(&ZRBProcLm::getProperty),
       slotOf(&ZRBProcLm::execute)},
  };
  for (const NodeSlots& node : nodes) {
    EXPECT_EQ(node.init, 2u) << node.name;
    EXPECT_EQ(node.setProperty, 3u) << node.name;
    EXPECT_EQ(node.getProperty, 4u) << node.name;
    EXPECT_EQ(node.execute, 5u) << node.name;
  }
}

// What the library exports, by its C++ signature.
std::map<std::string, ExportedSymbol> symbolsOfTheLibrary() {
  std::map<std::string, ExportedSymbol> symbols;
  for (const ExportedSymbol& symbol : exportedSymbols(ZRB_LIBRARY_PATH)) symbols.emplace(symbol.signature, symbol);
  return symbols;
}

TEST(TraceAndFitSlots, the_library_overrides_slots_0_to_5_and_leaves_the_others_to_the_node_base) {
  const auto symbols = symbolsOfTheLibrary();
  void* const library = dlopen(ZRB_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr);
  const auto address = [&](const std::string& signature) {
    const auto found = symbols.find(signature);
    return found == symbols.end() ? nullptr : dlsym(library, found->second.mangled.c_str());
  };
  const void* const base = address("vtable for ZRBProc");
  ASSERT_NE(base, nullptr);
  for (const std::string name : {"ZRBProcIdentity", "ZRBProcPrintf", "ZRBProcLm"}) {
    SCOPED_TRACE(name);
    const void* const vtable = address("vtable for " + name);
    ASSERT_NE(vtable, nullptr);
    const std::string own[] = {
        name + "::~" + name + "() [complete]",    name + "::~" + name + "() [deleting]",    name + "::init()",
        name + "::setProperty(ZRBPropertyInfo*)", name + "::getProperty(ZRBPropertyInfo*)", name + "::execute()"};
    // Ahead of slot 0 stand two words.
    const auto slot = [](const void* table, std::size_t i) { return valueAt<void*>(table, 16 + i * sizeof(void*)); };
    for (std::size_t i = 0; i < 6; ++i) {
      ASSERT_NE(address(own[i]), nullptr) << own[i] << " is not exported";
      EXPECT_EQ(slot(vtable, i), address(own[i])) << own[i];
    }
    for (std::size_t i = 6; i < 24; ++i) EXPECT_EQ(slot(vtable, i), slot(base, i)) << "slot " << i;
    EXPECT_EQ(symbols.at("vtable for " + name).size, 16 + 24 * sizeof(void*)) << "no slot more";
  }
  dlclose(library);
}

// ---- Symbols ----

TEST(TraceAndFitSymbols, are_what_a_host_may_call_and_no_more) {
  const std::vector<std::string> expected = {
      "ZRBProcIdentity::ZRBProcIdentity() [base]",
      "ZRBProcIdentity::ZRBProcIdentity() [complete]",
      "ZRBProcIdentity::execute()",
      "ZRBProcIdentity::getProperty(ZRBPropertyInfo*)",
      "ZRBProcIdentity::init()",
      "ZRBProcIdentity::setProperty(ZRBPropertyInfo*)",
      "ZRBProcIdentity::~ZRBProcIdentity() [base]",
      "ZRBProcIdentity::~ZRBProcIdentity() [complete]",
      "ZRBProcIdentity::~ZRBProcIdentity() [deleting]",
      "ZRBProcLm::ZRBProcLm() [base]",
      "ZRBProcLm::ZRBProcLm() [complete]",
      "ZRBProcLm::calcResults()",
      "ZRBProcLm::execute()",
      "ZRBProcLm::getNumResults()",
      "ZRBProcLm::getProperty(ZRBPropertyInfo*)",
      "ZRBProcLm::getResult(long)",
      "ZRBProcLm::init()",
      "ZRBProcLm::processChunk(long)",
      "ZRBProcLm::setProperty(ZRBPropertyInfo*)",
      "ZRBProcLm::~ZRBProcLm() [base]",
      "ZRBProcLm::~ZRBProcLm() [complete]",
      "ZRBProcLm::~ZRBProcLm() [deleting]",
      "ZRBProcPrintf::ZRBProcPrintf() [base]",
      "ZRBProcPrintf::ZRBProcPrintf() [complete]",
      "ZRBProcPrintf::execute()",
      "ZRBProcPrintf::getProperty(ZRBPropertyInfo*)",
      "ZRBProcPrintf::init()",
      "ZRBProcPrintf::setProperty(ZRBPropertyInfo*)",
      "ZRBProcPrintf::~ZRBProcPrintf() [base]",
      "ZRBProcPrintf::~ZRBProcPrintf() [complete]",
      "ZRBProcPrintf::~ZRBProcPrintf() [deleting]",
      "fe_solve(double*, long*, double*, double*)",
      "fe_srif(double*, long*, long*, double*, double*, long*)",
      "typeinfo for ZRBProcIdentity",
      "typeinfo for ZRBProcLm",
      "typeinfo for ZRBProcPrintf",
      "typeinfo name for ZRBProcIdentity",
      "typeinfo name for ZRBProcLm",
      "typeinfo name for ZRBProcPrintf",
      "vtable for ZRBProcIdentity",
      "vtable for ZRBProcLm",
      "vtable for ZRBProcPrintf",
      "zrb_s_create_ZRBProcIdentity",
      "zrb_s_create_ZRBProcLm",
      "zrb_s_create_ZRBProcPrintf",
  };
  std::vector<std::string> exported;
  for (const auto& [signature, symbol] : symbolsOfTheLibrary())
    for (const char* const part : {"ZRBProcIdentity", "ZRBProcLm", "ZRBProcPrintf", "fe_"})
      if (signature.find(part) != std::string::npos) {
        exported.push_back(signature);
        break;
      }
  EXPECT_EQ(exported, expected);
}

TEST(TraceAndFitSymbols, the_factories_make_nodes_with_their_defaults) {
  void (*const factories[])(void**) = {zrb_s_create_ZRBProcIdentity, zrb_s_create_ZRBProcPrintf,
                                       zrb_s_create_ZRBProcLm};
  for (auto* const factory : factories) {
    void* made = nullptr;
    factory(&made);
    ASSERT_NE(made, nullptr);
    ZRBProc* const node = static_cast<ZRBProc*>(made);
    EXPECT_STREQ(node->getError(), "uninitialized");
    EXPECT_EQ(node->getNumRows(), 1000);
    delete node;
  }
}

}  // namespace
