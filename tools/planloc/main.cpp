// planloc: answers questions of location about a table of sites.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <new>

#include "planloc/certified.h"
#include "tools/planloc/command.h"
#include "tools/planloc/errors.h"

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
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == 0) return app.exit(e);
    warn(std::string(e.what()));
    std::cerr << "Run with --help for more information.\n";
    return status_of(exit_status::bad_usage);
  }
  return run_command(run);
}

}  // namespace

}  // namespace planloc::tool

int main(int argc, char** argv) { return planloc::tool::run_line(argc, argv); }
