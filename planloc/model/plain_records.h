// Records of a location file in their plain form, which most are in: numbers, a gauge number, a
// name and nothing else on the line. Read without the scanner's tables, for the same result; every
// other record is left to the rules in location_scanner.l. Not for callers.
#ifndef PLANLOC_MODEL_PLAIN_RECORDS_H_
#define PLANLOC_MODEL_PLAIN_RECORDS_H_

#include <optional>
#include <vector>

#include "planloc/model/location_scanner.h"

namespace planloc::detail {

class plain_records {
 public:
  // REQUIRES: `scan` stands at the start of a record.
  explicit plain_records(location_scan& scan) : scan_(scan) {}

  // Adds the records from `p` on to the file as long as they are plain and end before `end`, at
  // which a NUL stands. Where the first other one starts.
  const char* read(const char* p, const char* end);
  int count() const { return count_; }

 private:
  struct token {
    const char* begin = nullptr;  // null if there is none
    const char* end = nullptr;
  };

  // Each takes what it names and the blanks behind it; false if that is not there.
  bool take_numbers(const char*& p, int count, const char* behind);
  bool take_gauge_number(const char*& p);
  bool take_name(const char*& p, const char* end);
  bool take_record(const char*& p, const char* end);
  void add_record();

  location_scan& scan_;
  int count_ = 0;
  std::vector<double> values_;  // of the record at hand
  token gauge_number_;
  token name_;
  std::optional<location> location_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_PLAIN_RECORDS_H_
