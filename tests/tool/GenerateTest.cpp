#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "ToolRun.h"
#include "zrb/zrb.h"

namespace {

std::string generate(const TempFolder& folder, const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"generate"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  const ToolResult result = runTool(folder, all);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return result.out;
}

// Gathers the cells of a pipeline's rows.
class Rows : public zrb::SinkNode {
public:
  std::vector<double> x;
  std::vector<std::string> f, s;
  std::vector<long long> d;

private:
  void work(long rows) override {
    for (long row = 0; row < rows; ++row) {
      x.push_back(input().getDouble(row, 0));
      f.emplace_back(input().getString(row, 1));
      s.emplace_back(input().getString(row, 2));
      d.push_back(input().getTimeDate(row, 3));
    }
  }
};

TEST(Generate, the_rows_are_those_of_the_random_reader) {
  const TempFolder folder;
  std::istringstream csv(
      generate(folder, {"--rows", "2500", "--seed", "42", "--schema", "x:double,f:factor,s:string,d:timeDate"}));

  auto buf = zrb::make<ZRBMemoryBuf>();
  auto reader = zrb::make<ZRBProcRandomReader>();
  auto rows = zrb::make<Rows>();
  zrb::set(buf, "num.columns", 4);
  const char* types[] = {"double", "factor", "string", "timeDate"};
  for (int i = 0; i < 4; ++i) zrb::set(buf, "column.type", i, types[i]);
  zrb::set(reader, "seed", 42);
  zrb::set(reader, "total.rows", 2500);
  zrb::set(reader, "outbuf", buf);
  zrb::set(rows, "inbuf", buf);
  auto pipeline = zrb::make<ZRBPipeline>();
  zrb::set(pipeline, "add.buf", buf);
  zrb::set(pipeline, "add.proc", reader);
  zrb::set(pipeline, "add.proc", rows);
  zrb::run(*pipeline);

  std::string line;
  std::getline(csv, line);
  EXPECT_EQ(line, "x,f,s,d");
  std::size_t row = 0;
  for (; std::getline(csv, line); ++row) {
    ASSERT_LT(row, 2500u);
    std::istringstream cells(line);
    std::string x, f, s, d;
    std::getline(cells, x, ',');
    std::getline(cells, f, ',');
    std::getline(cells, s, ',');
    std::getline(cells, d);
    EXPECT_EQ(std::strtod(x.c_str(), nullptr), rows->x[row]);
    EXPECT_EQ(f, rows->f[row]);
    EXPECT_EQ(s, rows->s[row]);
    EXPECT_EQ(zrb::parseIsoDate(d), rows->d[row]) << d;
  }
  EXPECT_EQ(row, 2500u);
}

TEST(Generate, a_seed_gives_the_same_rows_again_and_another_seed_others) {
  const TempFolder folder;
  const std::string once = generate(folder, {"--rows", "3", "--seed", "5", "--schema", "x:double"});
  EXPECT_EQ(generate(folder, {"--schema", "x:double", "--seed", "5", "--rows", "3"}), once);
  EXPECT_NE(generate(folder, {"--rows", "3", "--seed", "6", "--schema", "x:double"}), once);
  EXPECT_EQ(generate(folder, {"--rows", "3", "--schema", "x:double"}),
            generate(folder, {"--rows", "3", "--seed", "1", "--schema", "x:double"}));
}

TEST(Generate, names_that_need_quotes_get_them_and_no_rows_leave_the_names) {
  const TempFolder folder;
  EXPECT_EQ(generate(folder, {"--rows", "0", "--schema", "a,b:double,say \"hi\":factor,plain name:string"}),
            "\"a,b\",\"say \"\"hi\"\"\",plain name\n");
}

TEST(Generate, describe_reads_what_generate_writes) {
  const TempFolder folder;
  const ToolResult result = runShell(
      folder, "zrb generate --rows 12345 --schema x:double,f:factor,s:string,d:timeDate | zrb describe --json -");
  EXPECT_EQ(result.status, 0) << result.err;
  const auto description = nlohmann::json::parse(result.out);
  EXPECT_EQ(description.at("rows"), 12345);
  EXPECT_EQ(description.at("columns")[0].at("type"), "double");
  EXPECT_EQ(description.at("columns")[1].at("type"), "factor");
  EXPECT_EQ(description.at("columns")[2].at("type"), "factor");  // four texts only
  EXPECT_EQ(description.at("columns")[3].at("type"), "timeDate");
  for (const auto& column : description.at("columns")) EXPECT_EQ(column.at("na"), 0);
}

TEST(Generate, a_reader_that_goes_ends_it_quietly) {
  const TempFolder folder;
  const ToolResult result =
      runShell(folder, "{ zrb generate --rows 100000000 --schema x:double; echo $? > status; } | head -n 1");
  EXPECT_EQ(result.out, "x\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(folder.read("status"), "3\n");
}

}  // namespace
