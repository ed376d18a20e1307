#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

using Json = nlohmann::ordered_json;

// The element of "columns" with that name.
Json columnOf(const Json& description, const std::string& name) {
  for (const Json& column : description.at("columns"))
    if (column.at("name") == name) return column;
  ADD_FAILURE() << "no column " << name;
  return {};
}

Json describeJson(const TempFolder& folder, const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"describe", "--json"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  const ToolResult result = runTool(folder, all);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return Json::parse(result.out);
}

// ---- Figures from an independent computation: two passes in long double ----

struct Figures {
  long long n = 0;
  double min = 0, max = 0;
  long double mean = 0, sd = 0;
};

Figures figuresOf(const std::vector<double>& values) {
  Figures figures;
  figures.n = static_cast<long long>(values.size());
  figures.min = *std::min_element(values.begin(), values.end());
  figures.max = *std::max_element(values.begin(), values.end());
  for (const double value : values) figures.mean += static_cast<long double>(value);
  figures.mean /= static_cast<long double>(values.size());
  long double m2 = 0;
  for (const double value : values) {
    const long double deviation = static_cast<long double>(value) - figures.mean;
    m2 += deviation * deviation;
  }
  figures.sd = std::sqrt(m2 / static_cast<long double>(values.size() - 1));
  return figures;
}

// The running update has a relative error of at most about n kappa u, kappa = sqrt(1 + n mean^2 / m2), u = 2^-53; the mean
// one of about n u of the largest value.
void expectFigures(const Json& column, const Figures& figures) {
  const double n = static_cast<double>(figures.n);
  const double u = std::ldexp(1.0, -53);
  const double mean = static_cast<double>(figures.mean), sd = static_cast<double>(figures.sd);
  const double kappa = std::sqrt(1 + mean * mean / (sd * sd) * n / (n - 1));
  const double largest = std::max(std::fabs(figures.min), std::fabs(figures.max));
  EXPECT_EQ(column.at("n"), figures.n);
  EXPECT_EQ(column.at("min").get<double>(), figures.min);
  EXPECT_EQ(column.at("max").get<double>(), figures.max);
  EXPECT_NEAR(column.at("mean").get<double>(), mean, n * u * largest);
  EXPECT_NEAR(column.at("sd").get<double>(), sd, n * kappa * u * sd);
}

TEST(Describe, penguins_have_their_known_figures) {
  const TempFolder folder;
  const ToolResult result = runTool(folder, {"describe", ZRB_DATA_DIR "/penguins.csv"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, ZRB_DATA_DIR
            "/penguins.csv: 344 rows, 8 columns, delimiter ',', header line 1\n"
            "\n"
            "column             type      n  NA  levels   min   max         mean            sd\n"
            "species            factor  344   0       3\n"
            "island             factor  344   0       3\n"
            "bill_length_mm     double  342   2          32.1  59.6  43.92192982   5.459583714\n"
            "bill_depth_mm      double  342   2          13.1  21.5  17.15116959   1.974793157\n"
            "flipper_length_mm  double  342   2           172   231  200.9152047   14.06171368\n"
            "body_mass_g        double  342   2          2700  6300  4201.754386   801.9545357\n"
            "sex                factor  333  11       2\n"
            "year               double  344   0          2007  2009   2008.02907  0.8183559255\n"
            "\n"
            "species      n     %\n"
            "Adelie     152  44.2\n"
            "Gentoo     124  36.0\n"
            "Chinstrap   68  19.8\n"
            "\n"
            "island       n     %\n"
            "Biscoe     168  48.8\n"
            "Dream      124  36.0\n"
            "Torgersen   52  15.1\n"
            "\n"
            "sex       n     %\n"
            "male    168  50.5\n"
            "female  165  49.5\n");
}

TEST(Describe, longley_has_the_figures_of_two_passes_in_extended_precision) {
  const TempFolder folder;
  const Json description = describeJson(folder, {ZRB_DATA_DIR "/longley.csv"});
  // Read here by simple means: the file has no quotes and no NA.
  std::ifstream file(ZRB_DATA_DIR "/longley.csv");
  std::string line;
  std::getline(file, line);
  std::vector<std::string> names;
  std::istringstream header(line);
  for (std::string name; std::getline(header, name, ',');) names.push_back(name);
  std::vector<std::vector<double>> columns(names.size());
  while (std::getline(file, line)) {
    std::istringstream row(line);
    std::string cell;
    for (auto& column : columns) {
      std::getline(row, cell, ',');
      column.push_back(std::stod(cell));
    }
  }
  EXPECT_EQ(description.at("rows"), 16);
  ASSERT_EQ(names.size(), 7u);
  for (std::size_t i = 0; i < names.size(); ++i) expectFigures(columnOf(description, names[i]), figuresOf(columns[i]));
}

TEST(Describe, more_rows_than_any_sample_or_ring_have_the_figures_of_two_passes) {
  const TempFolder folder;
  std::mt19937_64 random(7);
  std::string csv = "x,y,f\n";
  std::vector<double> x, y;
  std::map<std::string, long long> levels;
  long long naOfX = 0, naOfF = 0;
  for (int i = 0; i < 100'000; ++i) {
    if (random() % 100 == 0) {
      csv += random() % 2 ? "NA," : ",";
      ++naOfX;
    } else {
      x.push_back(static_cast<double>(random() % 1'000'000) / 1024);  // exact in decimal as well
      csv += std::to_string(x.back()) + ",";
      x.back() = std::stod(std::to_string(x.back()));
    }
    y.push_back(1e9 + static_cast<double>(random() % 16));
    csv += std::to_string(static_cast<long long>(y.back())) + ",";
    const std::string level = std::string(1, static_cast<char>('a' + random() % 26));
    if (level == "z") {
      csv += "NA\n";
      ++naOfF;
    } else {
      csv += level + "\n";
      ++levels[level];
    }
  }
  folder.write("in.csv", csv);
  const Json description = describeJson(folder, {"in.csv"});
  EXPECT_EQ(description.at("rows"), 100'000);
  expectFigures(columnOf(description, "x"), figuresOf(x));
  expectFigures(columnOf(description, "y"), figuresOf(y));
  EXPECT_EQ(columnOf(description, "x").at("na"), naOfX);
  EXPECT_EQ(columnOf(description, "f").at("na"), naOfF);
  std::map<std::string, long long> found;
  const Json factor = columnOf(description, "f");
  for (const Json& level : factor.at("levels")) found[level.at("level")] = level.at("count");
  EXPECT_EQ(found, levels);
}

TEST(Describe, every_type_is_shown_with_what_is_measured) {
  const TempFolder folder;
  folder.write("in.csv",
               "number,group,note,day\n"
               "1,a,\"\xC3\xA4\xC3\xB6\",2026-11-20\n"
               "2,b,abc,2026-11-21T12:00:00\n"
               "NA,a,NA,NA\n"
               "6,,a longer note,2026-11-22\n");
  const ToolResult result = runTool(folder, {"describe", "in.csv", "--types", "note=string"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "in.csv: 4 rows, 4 columns, delimiter ',', header line 1\n"
            "\n"
            "column  type      n  NA  levels         min         max                 mean                 sd\n"
            "number  double    3   1                   1           6                    3        2.645751311\n"
            "group   factor    3   1       2\n"
            "note    string    3   1             3 bytes    13 bytes    6.666666667 bytes  5.507570547 bytes\n"
            "day     timeDate  3   1          2026-11-20  2026-11-22  2026-11-21T04:00:00      1.040833 days\n"
            "\n"
            "group  n     %\n"
            "a      2  66.7\n"
            "b      1  33.3\n");
}

TEST(Describe, json_holds_every_figure_and_null_for_none) {
  const TempFolder folder;
  folder.write("in.csv", "x,f,s,d,none\n1,a,abc,2026-11-20,\n2.5,b,de,2026-11-22,NA\n");
  const Json description = describeJson(folder, {"in.csv", "--types", "s=string"});
  EXPECT_EQ(description, Json::parse(R"({
    "file": "in.csv", "format": {"delimiter": ",", "header": true, "first_line": 1}, "rows": 2, "columns": [
      {"name": "x", "type": "double", "n": 2, "na": 0, "min": 1.0, "max": 2.5, "mean": 1.75, "sd": 1.0606601717798212},
      {"name": "f", "type": "factor", "n": 2, "na": 0,
       "levels": [{"level": "a", "count": 1}, {"level": "b", "count": 1}]},
      {"name": "s", "type": "string", "n": 2, "na": 0,
       "length_bytes": {"min": 2.0, "max": 3.0, "mean": 2.5, "sd": 0.7071067811865476}},
      {"name": "d", "type": "timeDate", "n": 2, "na": 0,
       "min": "2026-11-20", "max": "2026-11-22", "mean": "2026-11-21", "sd_days": 1.4142135623730951},
      {"name": "none", "type": "string", "n": 0, "na": 2,
       "length_bytes": {"min": null, "max": null, "mean": null, "sd": null}}]})"));
}

TEST(Describe, dates_far_away_are_shown_as_dates) {
  const TempFolder folder;
  folder.write("in.csv", "d\n-000001-01-01\n+012026-06-01T01:02:03.004\n");
  const Json day = columnOf(describeJson(folder, {"in.csv"}), "d");
  EXPECT_EQ(day.at("min"), "-000001-01-01");
  EXPECT_EQ(day.at("max"), "+012026-06-01T01:02:03.004");
}

TEST(Describe, the_most_frequent_levels_are_shown_first_and_the_others_counted) {
  const TempFolder folder;
  folder.write("in.csv", "f\nb\na\nc\nb\nd\nNA\n");
  const auto levelsOf = [&](const std::string& number) {
    const std::string out = runTool(folder, {"describe", "in.csv", "--levels", number}).out;
    const std::size_t end = out.find("\n\n", out.find("\ncolumn"));
    return end == std::string::npos ? "" : out.substr(end + 2);
  };
  EXPECT_EQ(levelsOf("2"),
            "f                n     %\n"
            "b                2  40.0\n"
            "a                1  20.0\n"
            "(2 more levels)  2  40.0\n");
  EXPECT_EQ(levelsOf("4"), "f  n     %\nb  2  40.0\na  1  20.0\nc  1  20.0\nd  1  20.0\n");
  EXPECT_EQ(levelsOf("0"), "");
  EXPECT_EQ(columnOf(describeJson(folder, {"in.csv", "--levels", "1"}), "f").at("levels").size(), 4u);
}

TEST(Describe, a_level_called_na_is_no_na) {
  const TempFolder folder;
  folder.write("in.csv", "f\nNA\nNA\nDE\n\"\"\n");
  const Json country = columnOf(describeJson(folder, {"in.csv", "--na", ""}), "f");
  EXPECT_EQ(country.at("na"), 1);
  EXPECT_EQ(country.at("levels"), Json::parse(R"([{"level": "NA", "count": 2}, {"level": "DE", "count": 1}])"));
}

TEST(Describe, files_of_every_form_give_the_same_figures) {
  const char* const kForms[] = {
      "x,f\n1,a\n2,b\n",              // plain
      "x,f\n1,a\n2,b",                // without a last line end
      "x,f\r\n1,a\r\n2,b\r\n",        // CRLF
      "\xEF\xBB\xBFx,f\n1,a\n2,b\n",  // byte order mark
      "\"x\",\"f\"\n\"1\",\"a\"\n\"2\",\"b\"\n",
      "\n\nx,f\n\n1,a\n\n\n2,b\n\n",  // empty lines
      "x,f\r1,a\r2,b\r",              // CR
  };
  const TempFolder folder;
  for (const char* form : kForms) {
    folder.write("in.csv", form);
    const Json description = describeJson(folder, {"in.csv"});
    EXPECT_EQ(description.at("rows"), 2) << form;
    EXPECT_EQ(columnOf(description, "x").at("mean"), 1.5) << form;
    EXPECT_EQ(columnOf(description, "f").at("levels").size(), 2u) << form;
  }
}

TEST(Describe, cells_keep_line_ends_quotes_and_delimiters) {
  const TempFolder folder;
  folder.write("in.csv", "f,g\n\"a\nb\",\"c,d\"\n\"a\nb\",\"say \"\"hi\"\"\"\n");
  const Json description = describeJson(folder, {"in.csv"});
  EXPECT_EQ(columnOf(description, "f").at("levels"), Json::parse(R"([{"level": "a\nb", "count": 2}])"));
  EXPECT_EQ(columnOf(description, "g").at("levels"),
            Json::parse(R"([{"level": "c,d", "count": 1}, {"level": "say \"hi\"", "count": 1}])"));
}

TEST(Describe, options_change_how_a_file_is_read) {
  const TempFolder folder;
  const struct {
    const char* content;
    std::vector<std::string> options;
    const char* columns;  // of the JSON, by name: type, n, NA, mean
  } cases[] = {
      {"a:b\n1:2\n", {"--delimiter", ":"}, "a double 1 0 1.0; b double 1 0 2.0"},
      {"a\tb\n1\t2\n", {"--delimiter", "tab"}, "a double 1 0 1.0; b double 1 0 2.0"},
      {"2019,2020\n1,2\n", {"--header"}, "2019 double 1 0 1.0; 2020 double 1 0 2.0"},
      {"1,2\n3,4\n", {}, "1 double 2 0 2.0; 2 double 2 0 3.0"},
      {",x\n1,2\n", {"--names", "row,x"}, "row double 1 0 1.0; x double 1 0 2.0"},
      {"# one\n# two\na\n1\n", {"--skip", "2"}, "a double 1 0 1.0"},
      {"# one\r\n# two\r\na\r\n1\r\n", {"--skip", "2"}, "a double 1 0 1.0"},
      {"a\n1\n-999\n", {"--na", "-999"}, "a double 1 1 1.0"},
      {"a\n1\n.\nx\n", {"--na", ".", "--na", "x"}, "a double 1 2 1.0"},
      {"a,b\n1\n2,3\n", {"--fill"}, "a double 2 0 1.5; b double 1 1 3.0"},
      {"a , b\n1 , \"2\" \n", {"--trim"}, "a double 1 0 1.0; b double 1 0 2.0"},
      {"a\n007\n", {"--types", "a=double"}, "a double 1 0 7.0"},
      {"a\n+1\n1e2\n9007199254740993\n", {"--types", "a=double", "--na", "9007199254740993"}, "a double 2 1 50.5"},
  };
  for (const auto& c : cases) {
    folder.write("in.csv", c.content);
    std::vector<std::string> arguments = {"in.csv"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    std::string columns;
    const Json description = describeJson(folder, arguments);
    for (const Json& column : description.at("columns"))
      columns += (columns.empty() ? "" : "; ") + column.at("name").get<std::string>() + " " +
                 column.at("type").get<std::string>() + " " + column.at("n").dump() + " " + column.at("na").dump() +
                 " " + column.at("mean").dump();
    EXPECT_EQ(columns, c.columns) << c.content;
  }
}

TEST(Describe, a_line_that_is_skipped_ends_with_its_whole_line_end_wherever_it_falls) {
  const TempFolder folder;
  for (const std::size_t length : {0u, 1u, 65'534u, 65'535u, 65'536u, 131'071u})
    for (const char* end : {"\n", "\r\n", "\r"}) {
      folder.write("in.csv", std::string(length, '#') + end + "a,b" + end + "1,2" + end);
      const ToolResult result = runTool(folder, {"describe", "in.csv", "--skip", "1"});
      EXPECT_EQ(result.out.substr(0, result.out.find('\n')), "in.csv: 1 row, 2 columns, delimiter ',', header line 2")
          << length << result.err;
    }
}

TEST(Describe, quotes_can_be_text) {
  const TempFolder folder;
  folder.write("in.csv", "size\n5\" pipe\n\"\n");
  const Json description = describeJson(folder, {"in.csv", "--no-quotes"});
  EXPECT_EQ(columnOf(description, "size").at("levels"),
            Json::parse(R"([{"level": "\"", "count": 1}, {"level": "5\" pipe", "count": 1}])"));
}

TEST(Describe, tables_of_all_shapes_are_described) {
  const TempFolder folder;
  folder.write("header.csv", "a,b\n");
  EXPECT_EQ(runTool(folder, {"describe", "header.csv"}).out,
            "header.csv: 0 rows, 2 columns, delimiter ',', header line 1\n"
            "\n"
            "column  type    n  NA  levels  min  max  mean  sd\n"
            "a       string  0   0           NA   NA    NA  NA\n"
            "b       string  0   0           NA   NA    NA  NA\n");
  std::string wide, cells;
  for (int i = 0; i < 20'000; ++i) {
    wide += (i > 0 ? ",c" : "c") + std::to_string(i);
    cells += (i > 0 ? "," : "") + std::to_string(i);
  }
  folder.write("wide.csv", wide + "\n" + cells + "\n" + cells + "\n");
  const Json description = describeJson(folder, {"wide.csv"});
  ASSERT_EQ(description.at("columns").size(), 20'000u);
  EXPECT_EQ(description.at("columns")[19'999].at("mean"), 19'999.0);
}

TEST(Describe, as_many_levels_as_the_limit_are_counted) {
  const TempFolder folder;
  std::string csv = "f\n";
  for (int i = 0; i < 65'534; ++i) csv += "L" + std::to_string(i) + "\n";
  folder.write("in.csv", csv + "L65533\n");
  const Json factor = columnOf(describeJson(folder, {"in.csv", "--types", "f=factor"}), "f");
  ASSERT_EQ(factor.at("levels").size(), 65'534u);
  EXPECT_EQ(factor.at("levels")[0], Json::parse(R"({"level": "L65533", "count": 2})"));
}

TEST(Describe, standard_input_is_read_in_one_pass_whatever_comes_in_which_pieces) {
  const TempFolder folder;
  folder.write("in.csv", "x,f\n1,a\n2,b\n");
  const std::string expected = runTool(folder, {"describe", "in.csv"}).out;
  const auto afterName = [](const std::string& out) { return out.substr(out.find(':')); };
  for (const char* command : {"zrb describe - < in.csv", "cat in.csv | zrb describe -",
                              "(printf 'x,f\\n1'; sleep 0.1; printf ',a\\n2,b\\n') | zrb describe -"}) {
    const ToolResult result = runShell(folder, command);
    EXPECT_EQ(result.status, 0) << command;
    EXPECT_EQ(result.out.substr(0, 2), "-:") << command;
    EXPECT_EQ(afterName(result.out), afterName(expected)) << command;
  }
}

#if !defined(__SANITIZE_ADDRESS__)
TEST(Describe, memory_stays_flat_for_a_stream_far_larger_than_that) {
  const TempFolder folder;
  const ToolResult result = runShell(
      folder,
      "zrb generate --rows 1000000 --schema x:double,y:double,f:factor,s:string,d:timeDate | zrb describe --json -");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Json::parse(result.out).at("rows"), 1'000'000);  // some 90 MB
  rusage used;
  getrusage(RUSAGE_CHILDREN, &used);
  // The largest of all children of this process until now, the runs of the other tests among them.
  EXPECT_LT(used.ru_maxrss, 64 * 1024) << "KiB";
}
#endif

}  // namespace
