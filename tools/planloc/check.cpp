// planloc check: everything that is wrong with the files of a run of cellwalk, all at once.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>

#include "tools/planloc/command.h"
#include "tools/planloc/gauges.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/options.h"
#include "tools/planloc/output_file.h"
#include "tools/planloc/walk_input.h"

namespace planloc::tool {

namespace {

struct walk_text {
  std::string name;
  walk_file_kind kind = walk_file_kind::unknown;
  std::string content;
  std::vector<finding> findings = {};
};

class walk_check {
 public:
  explicit walk_check(std::vector<walk_text> files) : files_(std::move(files)) {}

  void run() {
    for (walk_text& f : files_) check_alone(f);
    if (locations_ && gauges_) check_gauge_numbers();
    if (locations_ && frame_) check_frame();
    if (locations_ && parameters_) check_parameters();
  }

  // "file:line:column: message" for each finding, by file and line.
  std::string text() {
    std::string all;
    for (walk_text& f : files_) {
      std::stable_sort(f.findings.begin(), f.findings.end(),
                       [](const finding& a, const finding& b) {
                         return a.line != b.line ? a.line < b.line : a.column < b.column;
                       });
      for (const finding& one : f.findings) {
        all += f.name + ":" + std::to_string(one.line) + ":" + std::to_string(one.column) + ": " +
               one.message + "\n";
      }
    }
    return all;
  }

 private:
  static void add(walk_text& to, const std::vector<finding>& findings) {
    to.findings.insert(to.findings.end(), findings.begin(), findings.end());
  }

  void check_alone(walk_text& f) {
    f.kind = kind_of_walk_file(f.content);
    add(f, check_bytes(f.content, f.kind));
    if (f.kind == walk_file_kind::locations) {
      take(f, location_of_, "locations");
      locations_ = read_location_text(f.content);
      add(f, locations_->findings);
    } else if (f.kind == walk_file_kind::gauges) {
      take(f, gauge_of_, "gauges");
      add(f, check_gauge_layout(f.content));
      check_balls(f);
    } else if (f.kind == walk_file_kind::frame) {
      take(f, frame_of_, "frames");
      frame_ = read_number_text(f.content);
      add(f, frame_->findings);
      check_frame_numbers(f);
    } else if (f.kind == walk_file_kind::parameters) {
      take(f, parameter_of_, "parameters");
      parameters_ = read_number_text(f.content);
      add(f, parameters_->findings);
    } else if (f.kind == walk_file_kind::unknown) {
      f.findings.push_back({1, 1,
                            trimmed(f.content).empty()
                                ? "the file is empty"
                                : "neither a frame, locations, gauges nor parameters: "
                                  "docs/file-formats.md tells their forms"});
    }
  }

  static void take(walk_text& f, walk_text*& slot, const char* what) {
    if (slot != nullptr) {
      f.findings.push_back(
          {1, 1,
           std::string("a second file of ") + what + " beside " + slot->name + ": a run has one"});
    }
    slot = &f;
  }

  void check_balls(walk_text& f) {
    gauge_file content = read_gauge_text(f.content);
    add(f, content.findings);
    for (std::size_t k = 0; k < content.balls.size(); ++k) {
      try {
        const gauge g = gauge::polyhedral(content.balls[k].vertices);
        check_order(f, content.balls[k], k, g);
      } catch (const bad_problem& e) {
        f.findings.push_back({content.balls[k].line, 1,
                              "gauge " + std::to_string(k) + ": " +
                                  std::string(e.what()).substr(std::string("gauge: ").size())});
      }
    }
    gauges_ = std::move(content);
  }

  static void check_order(walk_text& f, const ball_text& ball, std::size_t k, const gauge& g) {
    const std::string start = "gauge " + std::to_string(k) + ": ";
    const std::vector<xy>& v = ball.vertices;
    if (v[0].x * v[1].y - v[0].y * v[1].x < 0) {
      f.findings.push_back({ball.line, 1, start + "the vertices are clockwise: turn their order"});
    }
    if (g.vertices().size() != v.size()) {
      f.findings.push_back({ball.line, 1, start + "a vertex lies on a straight edge: remove it"});
    }
  }

  void check_frame_numbers(walk_text& f) {
    const std::vector<number_text>& n = frame_->numbers;
    if (n.size() != 4) {
      f.findings.push_back(
          {1, 1, std::to_string(n.size()) + " numbers: expected xmin, xmax, ymin and 0 or 1"});
    } else if (n[0].value >= n[1].value) {
      f.findings.push_back({n[1].line, n[1].column, "xmax must be above xmin"});
    }
  }

  void check_gauge_numbers() {
    for (const record_text& r : locations_->records) {
      if (r.gauge < gauges_->balls.size()) continue;
      location_of_->findings.push_back(
          {r.line, 1,
           "gauge " + std::to_string(r.gauge) + " is not there: " + gauge_of_->name + " has " +
               std::to_string(gauges_->balls.size()) + ", counted from 0"});
    }
  }

  void check_frame() {
    constexpr double kWindowShape = 500.0 / 650.0;
    const std::vector<number_text>& n = frame_->numbers;
    if (n.size() != 4) return;
    const double height = (n[1].value - n[0].value) * kWindowShape;
    for (const record_text& r : locations_->records) {
      const bool inside = r.at.x >= n[0].value && r.at.x <= n[1].value && r.at.y >= n[2].value &&
                          r.at.y <= n[2].value + height;
      if (inside) continue;
      location_of_->findings.push_back(
          {r.line, 1,
           "the site lies outside of the frame of " + frame_of_->name + ", x from " +
               rounded(n[0].value) + " to " + rounded(n[1].value) + ", y from " +
               rounded(n[2].value) + " to " + rounded(n[2].value + height) + ": widen the frame"});
    }
  }

  // The rows of all records, in file order; nothing if a gauge is missing or broken.
  std::optional<std::vector<std::vector<xy>>> expected_rows() const {
    std::vector<std::vector<xy>> rows;
    for (const record_text& r : locations_->records) {
      if (r.gauge >= gauges_->balls.size() || gauges_->balls[r.gauge].vertices.size() < 3) {
        return std::nullopt;
      }
      rows.push_back(polar_of(gauges_->balls[r.gauge].vertices));
      for (xy& row : rows.back()) row = {r.weight * row.x, r.weight * row.y};
    }
    return rows;
  }

  void check_parameters() {
    const std::size_t n = locations_->records.size();
    const std::vector<number_text>& numbers = parameters_->numbers;
    if (numbers.size() < n) {
      tell_count(n, "order weights for as many sites");
      return;
    }
    if (!gauges_) return;
    const auto rows = expected_rows();
    if (!rows) return;
    std::size_t count = n;
    for (const auto& r : *rows) count += 2 * r.size();
    if (numbers.size() != count) {
      tell_count(count, std::to_string(n) +
                            " order weights, and two for each vertex of each "
                            "site's gauge");
      return;
    }
    std::size_t at = n;
    for (std::size_t i = 0; i < n; ++i) {
      check_rows(i, (*rows)[i], at);
      at += 2 * (*rows)[i].size();
    }
  }

  void tell_count(std::size_t expected, const std::string& what) {
    const bool any = !parameters_->numbers.empty();
    parameter_of_->findings.push_back(
        {any ? parameters_->numbers.back().line : 1, any ? parameters_->numbers.back().column : 1,
         std::to_string(parameters_->numbers.size()) + " numbers: expected " +
             std::to_string(expected) + " (" + what + "); make_parameters writes them"});
  }

  // In any order: they are constraints of one program.
  void check_rows(std::size_t site, const std::vector<xy>& expected, std::size_t at) {
    constexpr double kRounding = 1e-5;  // of six printed digits
    for (std::size_t k = 0; k < expected.size(); ++k) {
      const number_text& a = parameters_->numbers[at + 2 * k];
      const number_text& b = parameters_->numbers[at + 2 * k + 1];
      const bool known = std::any_of(expected.begin(), expected.end(), [&](const xy& row) {
        return std::hypot(row.x - a.value, row.y - b.value) <= kRounding * std::hypot(row.x, row.y);
      });
      if (known) continue;
      const record_text& r = locations_->records[site];
      parameter_of_->findings.push_back(
          {a.line, a.column,
           "row (" + rounded(a.value) + ", " + rounded(b.value) + ") disagrees with gauge " +
               std::to_string(r.gauge) + " and weight " + rounded(r.weight) + " of site " +
               std::to_string(site + 1) + (r.name.empty() ? "" : " [" + r.name + "]") +
               ", which give (" + rounded(expected[k].x) + ", " + rounded(expected[k].y) +
               "); make_parameters writes the rows"});
    }
  }

  std::vector<walk_text> files_;
  walk_text* location_of_ = nullptr;
  walk_text* gauge_of_ = nullptr;
  walk_text* frame_of_ = nullptr;
  walk_text* parameter_of_ = nullptr;
  std::optional<location_file> locations_;
  std::optional<gauge_file> gauges_;
  std::optional<number_file> frame_, parameters_;
};

// A folder stands for the files in it.
std::vector<std::string> files_of(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    std::error_code fault;
    if (!std::filesystem::is_directory(name, fault)) {
      files.push_back(name);
      continue;
    }
    std::vector<std::string> inside;
    for (const auto& entry : std::filesystem::directory_iterator(name)) {
      if (entry.is_regular_file()) inside.push_back(entry.path().string());
    }
    std::sort(inside.begin(), inside.end());
    files.insert(files.end(), inside.begin(), inside.end());
  }
  return files;
}

exit_status run_check(const std::vector<std::string>& names) {
  std::vector<walk_text> files;
  for (const std::string& name : files_of(names)) {
    files.push_back({.name = name, .content = read_whole(name)});
  }
  const std::size_t count = files.size();
  walk_check check(std::move(files));
  check.run();
  const std::string findings = check.text();
  write_standard_output(findings.empty() ? "nothing wrong in " + std::to_string(count) + " files\n"
                                         : findings);
  return findings.empty() ? exit_status::answered : exit_status::bad_data;
}

}  // namespace

void add_check(CLI::App& app, command& run) {
  CLI::App& c =
      *app.add_subcommand("check", "Everything wrong with the files of a run of cellwalk");
  const auto files = std::make_shared<std::vector<std::string>>();
  c.add_option("FILES", *files,
               "Frame, locations, gauges and parameters in any order, or their folder; what a file "
               "is shows in its content")
      ->required();
  add_example(c, "planloc check frame.txt sites.loc gauges.gauge objective.par");
  c.callback([files, &run] { run = [files] { return run_check(*files); }; });
}

}  // namespace planloc::tool
