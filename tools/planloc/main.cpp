// planloc: answers questions of location about a table of sites.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/command.h"
#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/suggest.h"

namespace planloc::tool {

void warn(const std::string& message) { std::cerr << "planloc: " << message << '\n'; }

namespace {

constexpr const char* kStatuses =
    "\nStatus: 0 an answer, 1 wrong data or files, 2 a wrong command line, 3 stopped by a limit.\n"
    "planloc SUBCOMMAND --help tells the options of one, with an example.\n";

int status_of(exit_status s) { return static_cast<int>(s); }

int run_command(const command& run) {
  try {
    return status_of(run());
  } catch (const tool_error& e) {
    warn(e.what());
    return status_of(e.status());
  } catch (const bad_problem& e) {
    warn(e.what());
  } catch (const std::bad_alloc&) {
    warn("out of memory");
  } catch (const std::exception& e) {
    warn(std::string("unexpected: ") + e.what());
  }
  return status_of(exit_status::bad_data);
}

// Turns `help SUBCOMMAND` into `SUBCOMMAND --help`; ends where there is no such subcommand.
std::optional<exit_status> check_subcommand(const CLI::App& app, std::vector<std::string>& words) {
  if (words.empty()) {
    std::cerr << app.help();
    return exit_status::bad_usage;
  }
  if (words[0] == "help") {
    words.erase(words.begin());
    words.emplace_back("--help");
  }
  std::vector<std::string> names;
  for (const CLI::App* c : app.get_subcommands(nullptr)) names.push_back(c->get_name());
  if (words[0].starts_with('-') || std::count(names.begin(), names.end(), words[0]) > 0) return {};
  warn("no subcommand " + in_quotes(words[0]) + did_you_mean(words[0], names));
  std::cerr << "Run with --help for more information.\n";
  return exit_status::bad_usage;
}

std::string fault_of_line(const CLI::App& app, const CLI::ParseError& e) {
  const std::vector<CLI::App*> chosen = const_cast<CLI::App&>(app).get_subcommands();
  if (dynamic_cast<const CLI::ExtrasError*>(&e) == nullptr || chosen.empty()) return e.what();
  const std::vector<std::string> left = app.remaining(true);
  const auto option = std::find_if(left.begin(), left.end(),
                                   [](const std::string& word) { return word.starts_with('-'); });
  if (option == left.end()) return "nothing is expected at " + in_quotes(left.front());
  std::vector<std::string> names;
  for (const CLI::Option* o : const_cast<const CLI::App*>(chosen[0])->get_options()) {
    for (const std::string& name : o->get_lnames()) names.push_back("--" + name);
  }
  return chosen[0]->get_name() + " has no option " + in_quotes(*option) +
         did_you_mean(*option, names);
}

int run_line(int argc, char** argv) {
  command run;
  CLI::App app("Best places for new facilities, with a proof.", "planloc");
  app.set_version_flag("--version", "planloc " PLANLOC_VERSION);
  app.set_help_flag("-h,--help", "Print this page");
  app.footer(kStatuses);
  app.require_subcommand(1);
  add_solve(app, run);
  add_verify(app, run);
  add_compare(app, run);
  add_depots(app, run);
  add_classic(app, run);
  add_gauge(app, run);
  add_walk_files(app, run);
  add_check(app, run);
  std::vector<std::string> words(argv + 1, argv + argc);
  if (const std::optional<exit_status> end = check_subcommand(app, words)) return status_of(*end);
  std::reverse(words.begin(), words.end());  // as CLI11 takes them
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == 0) return app.exit(e);
    warn(fault_of_line(app, e));
    std::cerr << "Run with --help for more information.\n";
    return status_of(exit_status::bad_usage);
  }
  return run_command(run);
}

}  // namespace

}  // namespace planloc::tool

int main(int argc, char** argv) { return planloc::tool::run_line(argc, argv); }
