#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

using Json = nlohmann::ordered_json;

std::string crosstab(const TempFolder& folder, const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"crosstab"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  const ToolResult result = runTool(folder, all);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return result.out;
}

TEST(Crosstab, penguins_by_species_and_island) {
  const TempFolder folder;
  EXPECT_EQ(crosstab(folder, {ZRB_DATA_DIR "/penguins.csv", "--by", "species,island"}), ZRB_DATA_DIR
            "/penguins.csv: 344 rows by species, island\n"
            "\n"
            "species    Biscoe  Dream  Torgersen  Total\n"
            "Adelie         44     56         52    152\n"
            "Chinstrap       0     68          0     68\n"
            "Gentoo        124      0          0    124\n"
            "Total         168    124         52    344\n");
}

TEST(Crosstab, na_is_a_level_of_its_own_behind_the_others) {
  const TempFolder folder;
  EXPECT_EQ(crosstab(folder, {ZRB_DATA_DIR "/penguins.csv", "--by", "sex"}), ZRB_DATA_DIR
            "/penguins.csv: 344 rows by sex\n"
            "\n"
            "sex       n\n"
            "female  165\n"
            "male    168\n"
            "NA       11\n"
            "Total   344\n");
  folder.write("in.csv", "a,b\nx,\n,y\n,\nx,y\nz,y\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "a,b"}),
            "in.csv: 5 rows by a, b\n"
            "\n"
            "a      y  NA  Total\n"
            "x      1   1      2\n"
            "z      1   0      1\n"
            "NA     1   1      2\n"
            "Total  3   2      5\n");
}

TEST(Crosstab, groups_of_three_and_more_variables_have_totals) {
  const TempFolder folder;
  folder.write("in.csv",
               "a,b,c,d\n"
               "1,x,p,m\n"
               "1,x,q,m\n"
               "1,y,p,n\n"
               "2,x,p,m\n"
               "2,x,p,n\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "a,b,d"}),
            "in.csv: 5 rows by a, b, d\n"
            "\n"
            "a      b      m  n  Total\n"
            "1      x      2  0      2\n"
            "1      y      0  1      1\n"
            "1      Total  2  1      3\n"
            "2      x      1  1      2\n"
            "2      Total  1  1      2\n"
            "Total         3  2      5\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "a,b,c,d"}),
            "in.csv: 5 rows by a, b, c, d\n"
            "\n"
            "a      b      c      m  n  Total\n"
            "1      x      p      1  0      1\n"
            "1      x      q      1  0      1\n"
            "1      x      Total  2  0      2\n"
            "1      y      p      0  1      1\n"
            "1      y      Total  0  1      1\n"
            "1      Total         2  1      3\n"
            "2      x      p      1  1      2\n"
            "2      x      Total  1  1      2\n"
            "2      Total         1  1      2\n"
            "Total                3  2      5\n");
}

TEST(Crosstab, numbers_are_sorted_by_size_and_texts_by_their_bytes) {
  const TempFolder folder;
  folder.write("in.csv", "n,t\n10,b\n9,B\n-1,\xC3\xA4\nNA,a\n2.5,10\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "n"}),
            "in.csv: 5 rows by n\n\nn      n\n-1     1\n2.5    1\n9      1\n10     1\nNA     1\nTotal  5\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "t"}),
            "in.csv: 5 rows by t\n\nt      n\n10     1\nB      1\na      1\nb      1\n\xC3\xA4      1\nTotal  5\n");
}

TEST(Crosstab, only_the_columns_named_are_read) {
  const TempFolder folder;
  // A text that contradicts the sampled type of "x" does not matter.
  std::string csv = "x,f\n";
  for (int i = 0; i < 200'000; ++i) csv += "123456,a\n";
  folder.write("in.csv", csv + "oops,b\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "f"}),
            "in.csv: 200001 rows by f\n\nf           n\na      200000\nb           1\nTotal  200001\n");
}

TEST(Crosstab, by_names_columns_in_one_text_or_several_and_names_with_commas_as_a_whole) {
  const TempFolder folder;
  folder.write("in.csv", "\"a,b\",a,b\n1,2,3\n");
  const std::string whole = crosstab(folder, {"in.csv", "--by", "a,b"});
  EXPECT_EQ(whole.substr(0, whole.find('\n')), "in.csv: 1 row by a,b");
  const std::string two = crosstab(folder, {"in.csv", "--by", "a", "--by", "b"});
  EXPECT_EQ(two.substr(0, two.find('\n')), "in.csv: 1 row by a, b");
  const std::string before = crosstab(folder, {"--by", "b", "in.csv"});
  EXPECT_EQ(before.substr(0, before.find('\n')), "in.csv: 1 row by b");
}

TEST(Crosstab, json_holds_the_levels_and_the_combinations_that_occur) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\nx,\nx,y\nx,y\nz,y\n");
  EXPECT_EQ(Json::parse(crosstab(folder, {"--json", "in.csv", "--by", "a,b"})), Json::parse(R"({
    "file": "in.csv", "rows": 4,
    "variables": [{"name": "a", "levels": [{"level": "x", "count": 3}, {"level": "z", "count": 1}]},
                  {"name": "b", "levels": [{"level": "y", "count": 3}, {"level": null, "count": 1}]}],
    "cells": [{"levels": ["x", "y"], "count": 2}, {"levels": ["x", null], "count": 1},
              {"levels": ["z", "y"], "count": 1}]})"));
}

TEST(Crosstab, counts_agree_with_a_table_of_all_combinations) {
  const TempFolder folder;
  std::mt19937 random(11);
  std::string csv = "a,b,c\n";
  std::map<std::vector<std::string>, long long> expected;
  for (int i = 0; i < 20'000; ++i) {
    // Some combinations are rare, some never occur.
    const std::vector<std::string> levels = {"a" + std::to_string(random() % 7), "b" + std::to_string(random() % 50),
                                             "c" + std::to_string(random() % 3 * (random() % 40))};
    csv += levels[0] + "," + levels[1] + "," + levels[2] + "\n";
    ++expected[levels];
  }
  folder.write("in.csv", csv);
  std::map<std::vector<std::string>, long long> found;
  const Json table = Json::parse(crosstab(folder, {"--json", "in.csv", "--by", "a,b,c"}));
  for (const Json& cell : table.at("cells"))
    found[cell.at("levels").get<std::vector<std::string>>()] = cell.at("count");
  EXPECT_EQ(found, expected);
}

TEST(Crosstab, ten_variables_are_the_most) {
  const TempFolder folder;
  folder.write("in.csv", "a,b,c,d,e,f,g,h,i,j,k\n1,2,3,4,5,6,7,8,9,10,11\n");
  EXPECT_EQ(Json::parse(crosstab(folder, {"--json", "in.csv", "--by", "a,b,c,d,e,f,g,h,i,j"})).at("cells"),
            Json::parse(R"([{"levels": ["1","2","3","4","5","6","7","8","9","10"], "count": 1}])"));
  expectFailure(runTool(folder, {"crosstab", "in.csv", "--by", "a,b,c,d,e,f,g,h,i,j,k"}), 2,
                "zrb: --by: found 11 columns, expected at most 10");
}

TEST(Crosstab, a_table_without_rows_has_a_total_of_none) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "a,b"}), "in.csv: 0 rows by a, b\n\na      Total\nTotal      0\n");
  EXPECT_EQ(crosstab(folder, {"in.csv", "--by", "a"}), "in.csv: 0 rows by a\n\na      n\nTotal  0\n");
}

TEST(Crosstab, a_table_too_large_to_be_read_is_refused) {
  const TempFolder folder;
  std::string csv = "a,b\n";
  for (int i = 0; i < 60'000; ++i) csv += std::to_string(i % 1500) + "," + std::to_string(i % 1499) + "\n";
  folder.write("in.csv", csv);
  expectFailure(runTool(folder, {"crosstab", "in.csv", "--by", "a,b"}), 1,
                "in.csv:0:0: cross-tabulation too large, found more than 1000000 cells, expected columns with fewer "
                "different texts");
}

}  // namespace
