// The command line of zrb.
#include <signal.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string>

#include "crosstab.h"
#include "csv_options.h"
#include "describe.h"
#include "export_table.h"
#include "failure.h"
#include "fit.h"
#include "generate.h"
#include "import_table.h"
#include "output.h"
#include "print.h"
#include "stored_blob.h"
#include "stored_schema.h"
#include "table_info.h"
#include "table_source.h"

namespace {

using namespace zrbtool;

// A whole number of at least `least`.
CLI::Validator atLeast(long long least) {
  const auto check = [least](const std::string& text) -> std::string {
    long long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool fits = error == std::errc() && end == text.data() + text.size() && number >= least;
    if (fits) return "";
    std::string expected = "a whole number from " + std::to_string(least);
    if (error == std::errc::result_out_of_range)
      expected += " to " + std::to_string(std::numeric_limits<long long>::max());
    return "found " + quote(text) + ", expected " + expected;
  };
  return CLI::Validator(std::function<std::string(std::string&)>(check), "");
}

// The name of a file: not the empty text of a variable that a script forgot to set.
CLI::Validator aName(const char* expected) {
  const auto check = [expected](const std::string& text) -> std::string {
    return text.empty() ? std::string("found '', expected ") + expected : "";
  };
  return CLI::Validator(std::function<std::string(std::string&)>(check), "");
}

constexpr const char* kInputName = "the name of a file, or - for standard input";
constexpr const char* kStoredName = "the name of a .zrb file";
constexpr const char* kOutputName = "the name of a file, or - for standard output";

constexpr const char* kExitStatuses =
    "Exit status: 0, or 1 when the data, 2 when the command line and 3 when reading or writing is at fault.";

constexpr const char* kReadingOptions = "How the CSV file is read; what is not given is found out from its beginning";

// The options of every verb that reads a table, as texts.
struct CsvArguments {
  const CLI::App* command = nullptr;  // the verb
  std::string file;
  std::optional<std::string> delimiter;
  std::optional<std::string> names;
  std::vector<std::string> types;
  std::vector<std::string> na;
  bool header = false;
  bool noHeader = false;
  bool noQuotes = false;
  bool trim = false;
  bool fill = false;
  long long skipLines = 0;

  void addTo(CLI::App& verb, const char* fileHelp = "CSV file, - is standard input; or a .zrb file of zrb import") {
    command = &verb;
    verb.add_option("FILE", file, fileHelp)->required()->check(aName(kInputName));
    const std::string group = kReadingOptions;
    verb.add_option("--delimiter", delimiter, "comma, semicolon, tab, pipe, space or another character")->group(group);
    auto* withHeader = verb.add_flag("--header", header, "the first line holds the names")->group(group);
    verb.add_flag("--no-header", noHeader, "the first line is data; the names are 1, 2, 3, ...")
        ->excludes(withHeader)
        ->group(group);
    verb.add_option("--names", names, "names in place of those of the header, separated by commas")->group(group);
    verb.add_option("--types", types, "NAME=TYPE,...; double, factor, string, string:BYTES or timeDate")
        ->allow_extra_args(false)
        ->group(group);
    verb.add_option("--na", na, "text that stands for NA besides the empty one, in place of NA; may be repeated")
        ->allow_extra_args(false)
        ->group(group);
    verb.add_flag("--no-quotes", noQuotes, "quotes are text like any other")->group(group);
    verb.add_flag("--trim", trim, "drop blanks around cells")->group(group);
    verb.add_flag("--fill", fill, "take the missing cells of rows that are too short as NA")->group(group);
    verb.add_option("--skip", skipLines, "lines to leave out before the first one")->check(atLeast(0))->group(group);
  }

  // A .zrb file is read as its schema tells, and no option may say otherwise.
  void refuseForStored() const {
    if (!isStoredName(file)) return;
    for (const CLI::Option* given : command->parse_order())
      if (given->get_group() == kReadingOptions)
        throw Failure(ExitStatus::usage,
                      "zrb: " + given->get_name() + ": found " + quote(file) +
                          ", expected a CSV file (types, names and NA of a .zrb file are those of its import)");
  }

  CsvOptions options() const {
    refuseForStored();
    CsvOptions options;
    if (delimiter) options.delimiter = parseDelimiter(*delimiter);
    if (header || noHeader) options.header = header;
    if (names) options.names = splitAtCommas(*names);
    for (const std::string& text : types)
      for (DeclaredType& declared : parseTypes(text)) options.types.push_back(std::move(declared));
    if (!na.empty()) options.na = na;
    options.quotes = !noQuotes;
    options.trim = trim;
    options.fill = fill;
    options.skipLines = skipLines;
    return options;
  }
};

void addDescribe(CLI::App& app, Output& output) {
  struct Arguments {
    CsvArguments csv;
    bool json = false;
    long levels = 20;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("describe", "Statistics of every column");
  arguments->csv.addTo(*verb);
  verb->add_flag("--json", arguments->json, "print JSON, with all levels");
  verb->add_option("--levels", arguments->levels, "levels to print of each factor, the most frequent ones")
      ->check(atLeast(0))
      ->capture_default_str();
  verb->callback([arguments, &output] {
    const auto source = openTable(arguments->csv.file, arguments->csv.options(), {});
    const Description description = describe(*source);
    output.write(arguments->json ? descriptionJson(description) : descriptionText(description, arguments->levels));
  });
}

void addCrosstab(CLI::App& app, Output& output) {
  struct Arguments {
    CsvArguments csv;
    std::vector<std::string> by;
    bool json = false;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("crosstab", "How often the values of some columns occur together");
  arguments->csv.addTo(*verb);
  verb->add_option("--by", arguments->by, "columns, separated by commas: 1 to 10")->required()->allow_extra_args(false);
  verb->add_flag("--json", arguments->json, "print JSON");
  verb->callback([arguments, &output] {
    const CrossTable table = crossTabulate(arguments->csv.file, arguments->csv.options(), arguments->by);
    output.write(arguments->json ? crossTableJson(table) : crossTableText(table));
  });
}

void addGenerate(CLI::App& app, Output& output) {
  struct Arguments {
    GenerateOptions options;
    std::string schema;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("generate", "Random rows as CSV");
  verb->add_option("--rows", arguments->options.rows, "number of rows")->required()->check(atLeast(0));
  verb->add_option("--seed", arguments->options.seed, "the same seed gives the same rows")
      ->check(atLeast(1))
      ->capture_default_str();
  verb->add_option("--schema", arguments->schema, "NAME:TYPE,...; double, factor, string or timeDate")->required();
  verb->callback([arguments, &output] {
    arguments->options.schema = parseSchema(arguments->schema);
    generate(arguments->options, output);
  });
}

void addPrint(CLI::App& app, Output& output) {
  struct Arguments {
    CsvArguments csv;
    std::vector<std::string> columns;
    long long rows = 10;
    bool trace = false;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("print", "The first rows");
  arguments->csv.addTo(*verb);
  verb->add_option("--rows", arguments->rows, "rows to print")->check(atLeast(0))->capture_default_str();
  verb->add_option("--columns", arguments->columns, "columns to print, separated by commas; all if not given")
      ->allow_extra_args(false);
  verb->add_flag("--trace", arguments->trace, "print them as the library's printf node shows them");
  verb->callback([arguments, &output] {
    TableRequest request;
    request.columns = arguments->columns;
    const auto source = openTable(arguments->csv.file, arguments->csv.options(), request);
    if (arguments->trace)
      traceFirstRows(*source, arguments->rows);
    else
      output.write(firstRowsText(*source, arguments->rows));
  });
}

void addImport(CLI::App& app) {
  struct Arguments {
    CsvArguments csv;
    std::string out;
    std::vector<std::string> blobs;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("import", "Keep a CSV file as rows on disk");
  arguments->csv.addTo(*verb, "CSV file; - is standard input");
  verb->add_option("OUT", arguments->out, "file of rows to write; its name ends in .zrb")->required();
  verb->add_option("--blob-column", arguments->blobs,
                   "NAME=PATHCOLUMN: a blob column of the contents of the files named in a column, as seen from the "
                   "folder of FILE; may be repeated")
      ->allow_extra_args(false);
  verb->callback([arguments] {
    ImportOptions options;
    options.file = arguments->csv.file;
    options.out = arguments->out;
    options.csv = arguments->csv.options();
    for (const std::string& text : arguments->blobs) options.blobs.push_back(parseBlobColumn(text));
    importTable(options);
  });
}

void addExport(CLI::App& app, Output& output) {
  struct Arguments {
    ExportOptions options;
    bool noHeader = false;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("export", "Rows on disk as CSV");
  verb->add_option("FILE", arguments->options.file, ".zrb file")->required()->check(aName(kStoredName));
  verb->add_option("-o,--output", arguments->options.out, "CSV file to write; - is standard output")
      ->check(aName(kOutputName))
      ->capture_default_str();
  verb->add_flag("--no-header", arguments->noHeader, "leave out the line with the names");
  verb->callback([arguments, &output] {
    arguments->options.header = !arguments->noHeader;
    exportTable(arguments->options, output);
  });
}

void addInfo(CLI::App& app, Output& output) {
  struct Arguments {
    std::string file;
    bool json = false;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("info", "Columns and layout of rows on disk");
  verb->add_option("FILE", arguments->file, ".zrb file")->required()->check(aName(kStoredName));
  verb->add_flag("--json", arguments->json, "print JSON, with all levels");
  verb->callback([arguments, &output] {
    const StoredTable table = openStored(arguments->file, "zrb info");
    output.write(arguments->json ? tableInfoJson(table) : tableInfoText(table));
  });
}

void addBlob(CLI::App& app, Output& output) {
  auto options = std::make_shared<BlobOptions>();
  CLI::App* verb = app.add_subcommand("blob", "One blob of rows on disk");
  verb->add_option("FILE", options->file, ".zrb file")->required()->check(aName(kStoredName));
  verb->add_option("--row", options->row, "number of the row, from 1")->required()->check(atLeast(1));
  verb->add_option("--column", options->column, "name of the blob column")->required();
  verb->add_option("-o,--output", options->out, "file to write; - is standard output")
      ->check(aName(kOutputName))
      ->capture_default_str();
  verb->callback([options, &output] { writeBlob(*options, output); });
}

// The names of all verbs, as in: describe, crosstab or generate.
std::string verbNames(const CLI::App& app) {
  const auto verbs = app.get_subcommands([](const CLI::App*) { return true; });
  std::string names;
  for (std::size_t i = 0; i < verbs.size(); ++i)
    names += (i == 0 ? "" : i + 1 < verbs.size() ? ", " : " or ") + verbs[i]->get_name();
  return names;
}

void addFit(CLI::App& app, Output& output) {
  struct Arguments {
    CsvArguments csv;
    std::string formula;
    bool json = false;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* verb = app.add_subcommand("fit", "A linear model by least squares");
  arguments->csv.addTo(*verb);
  verb->add_option("FORMULA", arguments->formula, "as in 'y ~ x + f + x:f'; a*b is a + b + a:b")->required();
  verb->add_flag("--json", arguments->json, "print JSON");
  verb->callback([arguments, &output] {
    const Fit fit = fitModel(arguments->csv.file, arguments->csv.options(), arguments->formula);
    output.write(arguments->json ? fitJson(fit) : fitText(fit));
  });
}

// What is wrong with the command line.
std::string reasonText(const CLI::App& app, const CLI::ParseError& reason) {
  if (reason.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError)) return reason.what();
  // CLI11 names those of a verb in reverse.
  std::string text;
  const std::vector<std::string> extras = app.remaining(true);
  for (const std::string& extra : extras) text += " " + extra;
  return (extras.size() == 1 ? "The following argument was not expected:"
                             : "The following arguments were not expected:") +
         text;
}

// Text in place of a run: help and version go to standard output, a wrong command line to standard error.
ExitStatus explain(const CLI::App& app, const CLI::ParseError& reason, Output& output) {
  if (reason.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
    std::ostringstream text, unused;
    app.exit(reason, text, unused);
    output.write(text.str());
    return ExitStatus::ok;
  }
  std::string verb;
  for (const CLI::App* chosen : app.get_subcommands()) verb = " " + chosen->get_name();
  throw Failure(ExitStatus::usage,
                "zrb" + verb + ": " + onOneLine(reasonText(app, reason)) + " (zrb" + verb + " --help tells more)");
}

ExitStatus run(int argc, char** argv) {
  Output output;
  CLI::App app(
      "Describes, cross-tabulates, prints and fits tables of any length in constant memory: CSV files, and the .zrb "
      "files that it imports them into.",
      "zrb");
  app.footer(kExitStatuses);
  app.set_version_flag("--version", "zrb " ZRB_VERSION);
  app.require_subcommand(1);
  addDescribe(app, output);
  addCrosstab(app, output);
  addGenerate(app, output);
  addPrint(app, output);
  addFit(app, output);
  addImport(app);
  addExport(app, output);
  addInfo(app, output);
  addBlob(app, output);
  // The options of a verb stand behind it.
  const bool knowsVerb = argc < 2 || app.get_option_no_throw(argv[1]) ||
                         !app.get_subcommands([&](CLI::App* verb) { return verb->check_name(argv[1]); }).empty();
  if (!knowsVerb) throw Failure(ExitStatus::usage, "zrb: found " + quote(argv[1]) + ", expected " + verbNames(app));
  ExitStatus status = ExitStatus::ok;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& reason) {
    status = explain(app, reason, output);
  }
  output.flush();
  return status;
}

ExitStatus complain(ExitStatus status, const std::string& text) {
  if (!text.empty()) std::fprintf(stderr, "%s\n", text.c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);  // writing to a pipe that is closed fails instead
  signal(SIGXFSZ, SIG_IGN);  // and so does writing beyond a limit on the size of files
  ExitStatus status;
  try {
    status = run(argc, argv);
  } catch (const Failure& failure) {
    status = complain(failure.status(), failure.what());
  } catch (const std::bad_alloc&) {
    status = complain(ExitStatus::io, "zrb: out of memory");
  } catch (const std::exception& failure) {
    status = complain(ExitStatus::data, std::string("zrb: ") + failure.what());
  }
  return static_cast<int>(status);
}
