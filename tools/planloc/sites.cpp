#include "tools/planloc/sites.h"

#include <gdal_priv.h>
#include <ogrsf_frmts.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

#include "tools/planloc/csv_text.h"
#include "tools/planloc/errors.h"
#include "tools/planloc/geodata.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/output_file.h"
#include "tools/planloc/sites_columns.h"

namespace planloc::tool {

namespace {

bool is_text_table(const std::string& path) {
  std::string ending = std::filesystem::path(path).extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ending == ".csv" || ending == ".tsv" || ending == ".txt" || ending.empty();
}

bool is_file_or_pipe(const std::string& path) {
  struct stat s {};
  return path == "-" || (::stat(path.c_str(), &s) == 0 && !S_ISDIR(s.st_mode));
}

// The content of a file in GDAL's memory, where no file beside it can change what it means.
class memory_file {
 public:
  memory_file(const char* name, std::string content)
      : name_(std::string("/vsimem/planloc/") + name), content_(std::move(content)) {
    VSIFCloseL(VSIFileFromMemBuffer(name_.c_str(), reinterpret_cast<GByte*>(content_.data()),
                                    content_.size(), FALSE));
  }
  ~memory_file() { VSIUnlink(name_.c_str()); }
  memory_file(const memory_file&) = delete;
  memory_file& operator=(const memory_file&) = delete;

  const std::string& name() const { return name_; }

 private:
  std::string name_;
  std::string content_;
};

class site_reader {
 public:
  explicit site_reader(const site_source& source) : source_(source) {
    table_.source = source.path == "-" ? "standard input" : source.path;
  }

  site_table read() {
    if (is_file_or_pipe(source_.path) && (source_.path == "-" || is_text_table(source_.path))) {
      read_text(read_whole(source_.path));
    } else {
      read_layer(source_.path, {});
    }
    finish();
    return std::move(table_);
  }

 private:
  void read_text(std::string text) {
    if (source_.path == "-" && trimmed(std::string_view(text).substr(0, 1000)).starts_with('{')) {
      const memory_file memory("sites.geojson", std::move(text));
      read_layer(memory.name(), {});
      return;
    }
    csv_layout layout = csv_layout_of(table_.source, text);
    table_.rows_are_lines = true;
    csv_columns_ = std::move(layout.columns);
    lines_ = std::move(layout.lines);
    text.erase(0, layout.header_at);
    const memory_file memory("sites.csv", std::move(text));
    read_layer(memory.name(), {"HEADERS=YES", "AUTODETECT_TYPE=NO"});
  }

  void read_layer(const std::string& name, const std::vector<const char*>& options) {
    const vector_source data(name, table_.source, table_.rows_are_lines ? "CSV" : nullptr, options);
    OGRLayer& layer = data.layer(source_.layer);
    OGRFeatureDefn& fields = *layer.GetLayerDefn();
    std::vector<std::string> columns = csv_columns_;
    if (columns.empty()) {
      for (int i = 0; i < fields.GetFieldCount(); ++i) {
        columns.emplace_back(fields.GetFieldDefn(i)->GetNameRef());
      }
    } else if (static_cast<std::size_t>(fields.GetFieldCount()) != columns.size()) {
      fail_data(table_.source + ":1: the header cannot be read as " +
                std::to_string(columns.size()) + " columns: quote names that hold separators");
    }
    const bool geometry = !table_.rows_are_lines && layer.GetGeomType() != wkbNone;
    columns_ = find_columns(table_.rows_are_lines ? table_.source + ":1" : table_.source, columns,
                            source_, geometry);
    table_.lonlat = columns_.lonlat;
    if (!columns_.x) take_reference_system(layer);
    table_.named = columns_.name.has_value();
    table_.weights.resize(std::max<std::size_t>(columns_.weights.size(), 1));
    const cell_reader cells(source_, columns);
    for (OGRFeatureUniquePtr f(layer.GetNextFeature()); f; f.reset(layer.GetNextFeature())) {
      read_feature(*f, cells);
    }
    data.check_read();
  }

  void take_reference_system(OGRLayer& layer) {
    const OGRSpatialReference* system = layer.GetSpatialRef();
    table_.lonlat =
        source_.lonlat || (!source_.planar && system != nullptr && system->IsGeographic());
    if (system == nullptr || (table_.lonlat && !system->IsGeographic()) ||
        (!table_.lonlat && system->IsGeographic())) {
      return;
    }
    table_.reference_system = wkt_of(*system);
    if (!table_.lonlat) table_.unit = unit_of(*system);
  }

  void read_feature(const OGRFeature& f, const cell_reader& cells) {
    const std::size_t row = table_.rows_are_lines
                                ? lines_.at(std::min(next_line_++, lines_.size() - 1))
                                : static_cast<std::size_t>(f.GetFID());
    table_.rows.push_back(row);
    const std::string place = table_.place_of(table_.rows.size() - 1);
    std::vector<double> weights;
    for (const std::size_t column : columns_.weights) {
      const double value = number_of(f, place, column, cells);
      const std::optional<double> weight = cells.weight(place, column, value);
      if (!weight) {
        table_.rows.pop_back();
        return;
      }
      weights.push_back(*weight);
    }
    if (weights.empty()) weights.push_back(1);
    if (std::all_of(weights.begin(), weights.end(), [](double w) { return w == 0; })) {
      if (!source_.drop_zero) {
        fail_data(place + ": all weights are 0; --drop-zero leaves such rows out");
      }
      table_.rows.pop_back();
      return;
    }
    for (std::size_t k = 0; k < weights.size(); ++k) table_.weights[k].push_back(weights[k]);
    table_.places.push_back(columns_.x ? xy{number_of(f, place, *columns_.x, cells),
                                            number_of(f, place, *columns_.y, cells)}
                                       : point_of(f.GetGeometryRef(), place));
    if (table_.lonlat) {
      check_degrees(place, table_.places.back());
    } else {
      check_planar(place, table_.places.back());
    }
    table_.gauge.push_back(
        columns_.gauge ? cells.gauge(place, *columns_.gauge, text_of(f, *columns_.gauge)) : 0);
    if (columns_.name) table_.names.push_back(name_of(f, place));
  }

  static const char* text_of(const OGRFeature& f, std::size_t column) {
    return const_cast<OGRFeature&>(f).GetFieldAsString(static_cast<int>(column));
  }

  static double number_of(const OGRFeature& f, const std::string& place, std::size_t column,
                          const cell_reader& cells) {
    const int i = static_cast<int>(column);
    const OGRFieldType type = const_cast<OGRFeature&>(f).GetFieldDefnRef(i)->GetType();
    const bool numeric = type == OFTReal || type == OFTInteger || type == OFTInteger64;
    if (numeric && f.IsFieldSetAndNotNull(i)) {
      const double value = const_cast<OGRFeature&>(f).GetFieldAsDouble(i);
      if (std::isfinite(value)) return value;
    }
    return cells.number(place, column, text_of(f, column));
  }

  std::string name_of(const OGRFeature& f, const std::string& place) const {
    std::string name = text_of(f, *columns_.name);
    if (!CPLIsUTF8(name.c_str(), -1)) {
      fail_data(place + ": the name is not UTF-8: convert the file, as in iconv -f latin1 -t utf8");
    }
    return name;
  }

  void finish() {
    if (table_.rows_are_lines && next_line_ != lines_.size()) {
      fail_data(table_.source + ": " + std::to_string(lines_.size()) + " rows, of which " +
                std::to_string(next_line_) + " can be read");
    }
    if (table_.places.empty()) {
      fail_data(table_.source + ": no site" +
                (source_.drop_zero ? " is left with a positive weight" : ""));
    }
  }

  const site_source& source_;
  site_table table_;
  site_columns columns_;
  std::vector<std::string> csv_columns_;
  std::vector<std::size_t> lines_;
  std::size_t next_line_ = 0;
};

}  // namespace

std::string site_table::place_of(std::size_t site) const {
  return source + (rows_are_lines ? ":" : ": feature ") + std::to_string(rows[site]);
}

site_table read_sites(const site_source& source) { return site_reader(source).read(); }

}  // namespace planloc::tool
