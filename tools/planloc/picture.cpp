#include "tools/planloc/picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <numeric>
#include <set>

#include "planloc/foundation/window/show_picture.h"
#include "tools/planloc/errors.h"
#include "tools/planloc/gauges.h"
#include "tools/planloc/map_canvas.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/output_file.h"

namespace planloc::tool {

namespace {

constexpr rgb kInk{30, 30, 30};
constexpr rgb kSite{70, 70, 80};
constexpr rgb kAnswer{200, 30, 40};
constexpr rgb kExisting{20, 20, 20};
constexpr rgb kOptima{250, 170, 160};
constexpr rgb kBall{215, 120, 20};
constexpr rgb kLevel{90, 135, 200};
constexpr rgb kLink{150, 150, 150};
constexpr rgb kPieceFill{170, 205, 240};
constexpr rgb kPiece{20, 80, 170};
constexpr rgb kForbidden{225, 205, 205};
constexpr rgb kForbiddenLine{160, 90, 90};
constexpr rgb kAllowedLine{60, 130, 70};
constexpr rgb kRay{215, 215, 215};
constexpr std::array<rgb, 10> kDepots = {{{200, 30, 40},
                                          {31, 87, 196},
                                          {44, 140, 44},
                                          {136, 64, 176},
                                          {225, 120, 10},
                                          {0, 140, 160},
                                          {140, 86, 50},
                                          {220, 90, 170},
                                          {110, 110, 20},
                                          {90, 90, 220}}};

constexpr int kMargin = 20;
constexpr int kTitleHeight = 60;
constexpr int kMapHeight = 760;
constexpr int kLegendWidth = 320;
constexpr int kCurveWidth = 460;
constexpr int kTextSize = 15;

rgb depot_colour(double k) { return kDepots[static_cast<std::size_t>(k) % kDepots.size()]; }

class map_drawing {
 public:
  map_drawing(map_canvas& canvas, const map_scene& scene) : canvas_(canvas), scene_(scene) {
    for (const map_feature& f : scene.features) {
      if (f.layer != map_layer::site) continue;
      ++sites_;
      heaviest_ = std::max(heaviest_, f.number("weight", 1));
    }
    many_ = sites_ > kMany;
  }

  void draw() {
    for (const map_feature& f : scene_.features) draw_below(f);
    draw_sites();
    for (const map_feature& f : scene_.features) {
      if (f.layer == map_layer::place) draw_place(f);
    }
    draw_labels();
  }

  const std::set<map_layer>& layers() const { return layers_; }
  int largest_dot() const { return largest(); }

 private:
  static constexpr std::size_t kMany = 5000;

  int largest() const {
    return static_cast<int>(std::clamp(80 / std::sqrt(static_cast<double>(sites_ + 1)), 2.0, 11.0));
  }
  int radius_of(const map_feature& f) const {
    const double share = std::sqrt(f.number("weight", 1) / heaviest_);
    return std::max(many_ ? 1 : 2, static_cast<int>(std::lround(largest() * share)));
  }

  void draw_below(const map_feature& f) {
    layers_.insert(f.layer);
    const auto outline = [&](const surface::pen& pen) {
      for (const auto& r : f.rings) {
        if (r.size() == 2) canvas_.line(r[0], r[1], pen);
        if (r.size() > 2) canvas_.ring(r, pen);
      }
    };
    const auto area = [&](rgb colour) {
      for (const auto& r : f.rings) {
        if (r.size() > 2) canvas_.fill(r, colour);
      }
    };
    switch (f.layer) {
      case map_layer::forbidden:
        area(kForbidden);
        return outline({1, solid, kForbiddenLine});
      case map_layer::allowed:
        return outline({2, solid, kAllowedLine});
      case map_layer::level:
        return outline({1, solid, kLevel});
      case map_layer::ball:
        return outline({1, dashed, kBall});
      case map_layer::ray:
        return outline({1, solid, kRay});
      case map_layer::link:
        return outline({1, solid, many_ ? kLink : depot_colour(f.number("depot", 0))});
      case map_layer::piece:
        area(kPieceFill);
        return outline({3, solid, kPiece});
      case map_layer::optimum:
        area(kOptima);
        return outline({3, solid, kAnswer});
      default:
        return;
    }
  }

  void draw_sites() {
    constexpr int kCell = 2;  // pixels: of many sites in one, one is seen
    const auto across = static_cast<std::size_t>(canvas_.area().right) / kCell + 1;
    std::vector<bool> seen(across * (static_cast<std::size_t>(canvas_.area().bottom) / kCell + 1));
    for (const map_feature& f : scene_.features) {
      if (f.layer != map_layer::site) continue;
      if (many_) {
        const surface::position p = canvas_.pixel(f.at());
        const std::size_t cell =
            static_cast<std::size_t>(p.y / kCell) * across + static_cast<std::size_t>(p.x / kCell);
        if (seen[cell]) continue;
        seen[cell] = true;
      }
      const double depot = f.number("depot", -1);
      canvas_.dot(f.at(), radius_of(f), depot < 0 ? kSite : depot_colour(depot));
    }
  }

  void draw_place(const map_feature& f) {
    constexpr int kRadius = 9;
    const rgb colour = f.number("new", 1) == 0     ? kExisting
                       : f.number("depot", -1) < 0 ? kAnswer
                                                   : depot_colour(f.number("depot", 0));
    canvas_.dot(f.at(), kRadius, kInk);
    canvas_.dot(f.at(), kRadius - 2, colour);
    canvas_.dot(f.at(), 3, {255, 255, 255});
  }

  void draw_labels() {
    for (const map_feature& f : scene_.features) {
      if (f.layer == map_layer::place && f.name != "answer") {
        canvas_.label(f.at(), 10, f.name, kTextSize, kInk);
      }
    }
    std::vector<const map_feature*> named;
    for (const map_feature& f : scene_.features) {
      if (f.layer == map_layer::site && !f.name.empty() && !many_) named.push_back(&f);
    }
    std::stable_sort(named.begin(), named.end(), [](const map_feature* a, const map_feature* b) {
      return a->number("weight", 1) > b->number("weight", 1);
    });
    constexpr std::size_t kMostNames = 150;
    if (named.size() > kMostNames) named.resize(kMostNames);
    for (const map_feature* f : named) {
      canvas_.label(f->at(), radius_of(*f), f->name, kTextSize, kInk);
    }
    label_lines(map_layer::ball, kBall, true);
    label_lines(map_layer::level, kLevel, false);
  }

  // At the top of a ball, at the right of a level set, or next to there where it is free.
  void label_lines(map_layer layer, rgb colour, bool top) {
    for (const map_feature& f : scene_.features) {
      if (f.layer != layer || f.rings.empty()) continue;
      std::vector<xy> places = f.rings.front();
      std::stable_sort(places.begin(), places.end(),
                       [&](const xy& a, const xy& b) { return top ? a.y > b.y : a.x > b.x; });
      for (const xy& p : places) {
        if (canvas_.label(p, 0, f.name, kTextSize - 3, colour)) break;
      }
    }
  }

  map_canvas& canvas_;
  const map_scene& scene_;
  std::size_t sites_ = 0;
  double heaviest_ = 0;
  bool many_ = false;
  std::set<map_layer> layers_;
};

class legend {
 public:
  legend(surface& picture, int left, int top) : picture_(picture), left_(left), y_(top) {}

  void lines(const std::vector<std::string>& texts) {
    for (const std::string& t : texts) {
      picture_.text({left_ - kTextGap, y_}, shortened(t), {kTextSize, text_place::right, kInk});
      y_ += kStep;
    }
    y_ += kStep / 2;
  }
  void dot(int radius, rgb colour, const std::string& text) {
    picture_.disc({left_ + kSymbol / 2, y_}, radius, colour);
    entry(text);
  }
  void place(rgb colour, const std::string& text) {
    picture_.disc({left_ + kSymbol / 2, y_}, 9, kInk);
    picture_.disc({left_ + kSymbol / 2, y_}, 7, colour);
    picture_.disc({left_ + kSymbol / 2, y_}, 3, {255, 255, 255});
    entry(text);
  }
  void line(const surface::pen& pen, const std::string& text) {
    picture_.line({left_, y_}, {left_ + kSymbol, y_}, pen);
    entry(text);
  }
  void area(rgb fill, rgb edge, const std::string& text) {
    const std::vector<surface::position> box = {
        {left_, y_ - 7}, {left_ + kSymbol, y_ - 7}, {left_ + kSymbol, y_ + 7}, {left_, y_ + 7}};
    picture_.fill(box, fill);
    for (std::size_t k = 0; k < 4; ++k) picture_.line(box[k], box[(k + 1) % 4], {2, solid, edge});
    entry(text);
  }

 private:
  static constexpr int kStep = 26;
  static constexpr int kSymbol = 34;

  static std::string shortened(const std::string& text) {
    constexpr std::size_t kMost = 42;
    return text.size() <= kMost ? text : text.substr(0, kMost - 3) + "...";
  }
  void entry(const std::string& text) {
    picture_.text({left_ + kSymbol, y_}, text, {kTextSize, text_place::right, kInk});
    y_ += kStep;
  }

  surface& picture_;
  int left_;
  int y_;
};

void draw_legend(surface& picture, int left, const map_scene& scene, const map_drawing& drawn) {
  legend l(picture, left, kTitleHeight + 14);
  l.lines(scene.lines);
  const std::set<map_layer>& layers = drawn.layers();
  const auto has = [&](map_layer layer) { return layers.contains(layer); };
  const bool depots = std::any_of(scene.features.begin(), scene.features.end(), [](const auto& f) {
    return f.layer == map_layer::place && f.number("depot", -1) >= 0;
  });
  if (has(map_layer::place)) l.place(kAnswer, depots ? "new depot" : "answer");
  const bool existing = std::any_of(
      scene.features.begin(), scene.features.end(),
      [](const auto& f) { return f.layer == map_layer::place && f.number("new", 1) == 0; });
  if (existing) l.place(kExisting, "existing depot");
  if (has(map_layer::optimum)) l.area(kOptima, kAnswer, "every place as good");
  if (has(map_layer::piece)) l.area(kPieceFill, kPiece, "efficient places");
  if (has(map_layer::site)) l.dot(std::min(drawn.largest_dot(), 9), kSite, "site, area by weight");
  if (has(map_layer::link)) l.line({1, solid, kLink}, "served by");
  if (has(map_layer::ball)) l.line({1, dashed, kBall}, scene.ball_name);
  if (has(map_layer::level)) l.line({1, solid, kLevel}, "value of the objective");
  if (has(map_layer::allowed)) l.line({2, solid, kAllowedLine}, "allowed");
  if (has(map_layer::forbidden)) l.area(kForbidden, kForbiddenLine, "forbidden");
  if (has(map_layer::ray)) l.line({1, solid, kRay}, "directions of the gauges");
}

double round_length(double x) {
  const double power = std::pow(10, std::floor(std::log10(x)));
  return power * (x >= 5 * power ? 5 : x >= 2 * power ? 2 : 1);
}

void draw_scale_bar(surface& picture, const map_canvas& canvas, const std::string& unit) {
  const pixel_box& a = canvas.area();
  const double length = round_length((a.right - a.left) / canvas.scale() / 4);
  const int pixels = static_cast<int>(std::lround(length * canvas.scale()));
  const int left = static_cast<int>(a.left) + 16;
  const int y = static_cast<int>(a.bottom) - 16;
  const std::string text = rounded(length) + (unit.empty() ? "" : " " + unit);
  const int width = pixels + static_cast<int>(text_width(text, kTextSize)) + 24;
  picture.fill(
      {{left - 8, y - 12}, {left + width, y - 12}, {left + width, y + 10}, {left - 8, y + 10}},
      {255, 255, 255});
  const surface::pen pen{2, solid, kInk};
  picture.line({left, y}, {left + pixels, y}, pen);
  picture.line({left, y - 5}, {left, y + 5}, pen);
  picture.line({left + pixels, y - 5}, {left + pixels, y + 5}, pen);
  picture.text({left + pixels, y}, text, {kTextSize, text_place::right, kInk});
}

// So many digits that neighbouring ticks differ.
int tick_digits(double low, double high, double step) {
  const double size = std::max({std::fabs(low), std::fabs(high), step});
  return std::clamp(2 + static_cast<int>(std::floor(std::log10(size / step))), 6, 15);
}

// The values of both criteria along the efficient places.
void draw_curve(surface& picture, int left, int width, const trade_off_curve& curve) {
  const pixel_box area{left + 70.0, kTitleHeight + 10.0, left + width - 20.0,
                       kTitleHeight + kMapHeight * 0.62};
  rectangle frame = frame_of(curve.corners, 0.0);
  const auto wide = [](double& low, double& high) {
    const double margin = high > low ? 0.08 * (high - low) : 1;
    low -= margin;
    high += margin;
  };
  wide(frame.low.x, frame.high.x);
  wide(frame.low.y, frame.high.y);
  const auto at = [&](const xy& v) {
    return surface::position{
        static_cast<int>(std::lround(area.left + (v.x - frame.low.x) / frame.width() *
                                                     (area.right - area.left))),
        static_cast<int>(std::lround(area.bottom - (v.y - frame.low.y) / frame.height() *
                                                       (area.bottom - area.top)))};
  };
  const surface::pen axis{1, solid, kInk};
  picture.line(at(frame.low), at({frame.high.x, frame.low.y}), axis);
  picture.line(at(frame.low), at({frame.low.x, frame.high.y}), axis);
  constexpr int kTicks = 3;
  const int digits_x = tick_digits(frame.low.x, frame.high.x, frame.width() / kTicks);
  const int digits_y = tick_digits(frame.low.y, frame.high.y, frame.height() / kTicks);
  for (int k = 0; k <= kTicks; ++k) {
    const xy v{frame.low.x + frame.width() * k / kTicks, frame.low.y + frame.height() * k / kTicks};
    picture.text(at({v.x, frame.low.y}), rounded(v.x, digits_x),
                 {kTextSize - 3, text_place::below, kInk});
    picture.text(at({frame.low.x, v.y}), rounded(v.y, digits_y),
                 {kTextSize - 3, text_place::left, kInk});
  }
  for (std::size_t k = 0; k + 1 < curve.corners.size(); ++k) {
    picture.line(at(curve.corners[k]), at(curve.corners[k + 1]), {3, solid, kPiece});
  }
  for (const xy& c : curve.corners) picture.disc(at(c), 4, kPiece);
  const int middle = static_cast<int>((area.left + area.right) / 2);
  picture.text({middle, static_cast<int>(area.bottom) + 34}, "sum by " + curve.first,
               {kTextSize, text_place::centre, kInk});
  picture.text({static_cast<int>(area.left) - 60, static_cast<int>(area.top) - 24},
               "sum by " + curve.second, {kTextSize, text_place::right, kInk});
}

}  // namespace

void check_picture_name(const std::string& file) {
  std::string ending = std::filesystem::path(file).extension().string();
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ending == ".svg" || ending == ".pdf" || ending == ".png") return;
  fail_usage("picture " + in_quotes(file) + ": expected a name that ends in .svg, .pdf or .png");
}

void save_picture(const std::string& file, const surface& picture) {
  check_picture_name(file);
  file_beside beside(file);
  const std::string reason = picture.save(beside.name());
  if (!reason.empty()) fail_data(file + ": cannot be written: " + reason);
  beside.keep();
}

void put_on_screen(const surface& picture, const std::string& title) {
  if (!show_picture(picture, title)) {
    fail_data("--show: no screen: DISPLAY is not set or cannot be opened; --picture writes a file");
  }
}

std::unique_ptr<surface> draw_map(const map_scene& scene, const std::string& unit,
                                  const trade_off_curve& curve) {
  const double shape = std::clamp(scene.frame.width() / scene.frame.height(), 0.7, 1.6);
  const int map_width = static_cast<int>(std::lround(kMapHeight * shape));
  const int side = curve.corners.empty() ? kLegendWidth : kCurveWidth;
  const int width = map_width + side + 3 * kMargin;
  const int height = kTitleHeight + kMapHeight + kMargin;
  auto drawn = std::make_unique<surface>(width, height);
  surface& picture = *drawn;
  map_canvas canvas(picture,
                    {double(kMargin), double(kTitleHeight), double(kMargin + map_width),
                     double(kTitleHeight + kMapHeight)},
                    scene.frame);
  map_drawing drawing(canvas, scene);
  drawing.draw();
  canvas.finish(width, height);
  draw_scale_bar(picture, canvas, unit);
  picture.text({kMargin - kTextGap, kTitleHeight / 2}, scene.title, {24, text_place::right, kInk});
  const int left = map_width + 2 * kMargin;
  if (curve.corners.empty()) {
    draw_legend(picture, left, scene, drawing);
  } else {
    draw_curve(picture, left, side, curve);
  }
  return drawn;
}

std::unique_ptr<surface> draw_balls(const std::vector<std::vector<xy>>& balls,
                                    const std::string& title) {
  constexpr int kSide = 420;
  const int width = 2 * kSide + 3 * kMargin;
  const int height = kTitleHeight + kSide + kMargin + 30;
  auto drawn = std::make_unique<surface>(width, height);
  surface& picture = *drawn;
  std::vector<std::vector<xy>> polars;
  for (const auto& b : balls) polars.push_back(polar_of(b));
  for (int k = 0; k < 2; ++k) {
    const auto& shown = k == 0 ? balls : polars;
    std::vector<xy> corners = {{0, 0}};
    for (const auto& b : shown) corners.insert(corners.end(), b.begin(), b.end());
    const double left = kMargin + k * (kSide + kMargin);
    map_canvas canvas(picture,
                      {left, double(kTitleHeight), left + kSide, double(kTitleHeight + kSide)},
                      frame_of(corners, 0.12));
    for (std::size_t b = 0; b < shown.size(); ++b) {
      for (const xy& v : shown[b]) canvas.line({0, 0}, v, {1, solid, kRay});
      canvas.ring(shown[b], {2, solid, depot_colour(static_cast<double>(b))});
      for (const xy& v : shown[b]) canvas.dot(v, 3, depot_colour(static_cast<double>(b)));
    }
    canvas.dot({0, 0}, 4, kInk);
    draw_scale_bar(picture, canvas, "");
    picture.text({static_cast<int>(left) + kSide / 2, kTitleHeight + kSide + 18},
                 k == 0 ? "unit ball" : "polar", {kTextSize, text_place::centre, kInk});
  }
  picture.text({kMargin - kTextGap, kTitleHeight / 2}, title, {20, text_place::right, kInk});
  return drawn;
}

}  // namespace planloc::tool
