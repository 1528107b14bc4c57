#include "tests/tools/tool_run.h"

#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

ToolRun::ToolRun()
    : folder_(fs::temp_directory_path() / ("planloc_tool_test." + std::to_string(getpid()))) {
  fs::create_directories(folder_);
}

ToolRun::~ToolRun() { fs::remove_all(folder_); }

void ToolRun::write(const std::string& name, const std::string& content) const {
  std::ofstream(file(name), std::ios::binary) << content;
}

std::string ToolRun::read(const std::string& name) const {
  std::ostringstream text;
  text << std::ifstream(file(name), std::ios::binary).rdbuf();
  return text.str();
}

ToolRun::result ToolRun::shell(const std::string& line) const {
  const std::string all =
      "cd '" + folder_.string() + "' && { " + line + "\n} >stdout.txt 2>stderr.txt </dev/null";
  const int raw = std::system(all.c_str());
  return {WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw), read("stdout.txt"),
          read("stderr.txt")};
}

nlohmann::json ToolRun::answer(const std::string& arguments, int status) const {
  const result r = planloc(arguments);
  EXPECT_EQ(r.status, status) << arguments << "\n" << r.err;
  nlohmann::json j = nlohmann::json::parse(r.out, nullptr, false);
  EXPECT_FALSE(j.is_discarded()) << arguments << "\n" << r.out;
  return j;
}

std::string ToolRun::listing() const {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder_)) names.insert(entry.path().filename());
  std::string text;
  for (const std::string& n : names) {
    if (n != "stdout.txt" && n != "stderr.txt") text += n + " ";
  }
  return text;
}
