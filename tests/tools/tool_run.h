// Runs of the program `planloc` in a folder of their own.
#ifndef PLANLOC_TESTS_TOOLS_TOOL_RUN_H_
#define PLANLOC_TESTS_TOOLS_TOOL_RUN_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>

class ToolRun : public ::testing::Test {
 protected:
  struct result {
    int status;  // exit status, or 128 + the signal
    std::string out;
    std::string err;
  };

  ToolRun();
  ~ToolRun() override;

  std::filesystem::path file(const std::string& name) const { return folder_ / name; }
  void write(const std::string& name, const std::string& content) const;
  std::string read(const std::string& name) const;

  // A line of the shell, in the folder.
  result shell(const std::string& line) const;
  result planloc(const std::string& arguments) const { return shell(PLANLOC " " + arguments); }
  // The same with the standard output as JSON; fails the test if it is none or the status differs.
  nlohmann::json answer(const std::string& arguments, int status = 0) const;

  // Names of the files in the folder, but for the streams of the last run.
  std::string listing() const;

 private:
  std::filesystem::path folder_;
};

#endif  // PLANLOC_TESTS_TOOLS_TOOL_RUN_H_
