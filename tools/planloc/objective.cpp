#include "tools/planloc/objective.h"

#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

[[noreturn]] void fail_form(std::string_view text, const char* expected) {
  fail_usage("objective " + in_quotes(text) + ": expected " + expected);
}

std::size_t count_of(std::string_view text, std::string_view argument, const char* expected,
                     std::size_t least) {
  const std::optional<std::size_t> k = parse_count(argument);
  if (!k || *k < least) fail_form(text, expected);
  return *k;
}

double share_of(std::string_view text, std::string_view argument, const char* expected) {
  const std::optional<double> share = parse_number(argument);
  if (!share || *share < 0 || *share > 1) fail_form(text, expected);
  return *share;
}

order_weights trimmed_weights(std::string_view text, std::string_view argument) {
  constexpr const char* kExpected =
      "trimmed:LOW,HIGH with the numbers of the nearest and the farthest sites to leave out";
  const std::vector<std::string_view> parts = split(argument, ',');
  if (parts.size() != 2) fail_form(text, kExpected);
  return order_weights::trimmed_mean(count_of(text, parts[0], kExpected, 0),
                                     count_of(text, parts[1], kExpected, 0));
}

order_weights weights_of_file(const std::string& file) {
  std::ifstream in(file);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  if (!in.is_open() || in.bad() || text.empty()) {
    fail_data(file + ": cannot be read, or is empty: expected one order weight for each site");
  }
  std::vector<double> lambda;
  std::size_t line = 1;
  for (std::string_view row : split(text, '\n')) {
    for (row = trimmed(row); !row.empty();) {
      const std::string_view word = row.substr(0, row.find_first_of(" \t\r"));
      const std::optional<double> weight = parse_number(word);
      if (!weight) {
        fail_data(
            file + ":" + std::to_string(line) + ": " + in_quotes(word) +
            " is not a number: expected order weights separated by blanks or line ends" +
            (word.find(',') == std::string_view::npos ? "" : ", with a point as decimal mark"));
      }
      lambda.push_back(*weight);
      row = trimmed(row.substr(word.size()));
    }
    ++line;
  }
  return order_weights(std::move(lambda));
}

order_weights named(std::string_view text) {
  const std::size_t colon = text.find(':');
  const std::string_view name = text.substr(0, colon);
  const bool bare = colon == std::string_view::npos;
  const std::string_view argument = bare ? std::string_view() : text.substr(colon + 1);
  if (bare && name == "median") return order_weights::median();
  if (bare && (name == "centre" || name == "center")) return order_weights::centre();
  if (bare && name == "range") return order_weights::range();
  if (name == "k-centrum") {
    return order_weights::k_centrum(count_of(text, argument, "k-centrum:K with K from 1", 1));
  }
  if (name == "anti-centrum") {
    return order_weights::anti_centrum(count_of(text, argument, "anti-centrum:K with K from 1", 1));
  }
  if (name == "order-statistic") {
    return order_weights::order_statistic(
        count_of(text, argument, "order-statistic:K with K from 1", 1));
  }
  if (name == "cent-dian") {
    return order_weights::cent_dian(
        share_of(text, argument, "cent-dian:ALPHA with ALPHA from 0 (median) to 1 (centre)"));
  }
  if (name == "quantile") {
    return order_weights::quantile(share_of(text, argument, "quantile:Q with Q from 0 to 1"));
  }
  if (name == "trimmed") return trimmed_weights(text, argument);
  if (name == "weights" && !argument.empty()) return weights_of_file(std::string(argument));
  fail_form(text, kObjectiveNames);
}

}  // namespace

objective parse_objective(std::string_view text) {
  try {
    return {std::string(text), named(text)};
  } catch (const bad_problem& e) {
    const std::string message = "objective " + in_quotes(text) + ": " + e.what();
    if (text.starts_with("weights:")) fail_data(message);
    fail_usage(message);
  }
}

objective parse_order_weights(std::string_view text) {
  std::vector<double> lambda;
  for (const std::string_view part : split(text, ',')) {
    const std::optional<double> weight = parse_number(part);
    if (!weight) {
      fail_usage("--order-weights: " + in_quotes(part) +
                 " is not a number: expected numbers separated by commas, as in "
                 "--order-weights=-1,0,1");
    }
    lambda.push_back(*weight);
  }
  try {
    return {"order-weights:" + std::string(text), order_weights(std::move(lambda))};
  } catch (const bad_problem& e) {
    fail_usage(std::string("--order-weights: ") + e.what());
  }
}

void check_fits(const objective& o, std::size_t sites) {
  try {
    static_cast<void>(o.lambda.runs(sites));
  } catch (const bad_problem& e) {
    fail_data("objective " + in_quotes(o.name) + " does not fit " + std::to_string(sites) +
              (sites == 1 ? " site: " : " sites: ") + e.what());
  }
}

}  // namespace planloc::tool
