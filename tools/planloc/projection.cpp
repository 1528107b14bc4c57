#include "tools/planloc/projection.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "tools/planloc/errors.h"
#include "tools/planloc/geodata.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

constexpr double kDegree = std::numbers::pi / 180;

struct vector3 {
  double x = 0, y = 0, z = 0;
};

vector3 on_sphere(const xy& lonlat) {
  const double lat = lonlat.y * kDegree;
  const double lon = lonlat.x * kDegree;
  return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

double dot(const vector3& a, const vector3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

double rounded_degrees(double d) { return std::round(d * 1e4) / 1e4; }

xy mean_of(const std::vector<xy>& lonlat) {
  vector3 sum;
  for (const xy& p : lonlat) {
    const vector3 v = on_sphere(p);
    sum = {sum.x + v.x, sum.y + v.y, sum.z + v.z};
  }
  // Places all around the globe have no mean: any of them will do.
  if (dot(sum, sum) < 1e-18) sum = on_sphere(lonlat.front());
  return {rounded_degrees(std::atan2(sum.y, sum.x) / kDegree),
          rounded_degrees(std::atan2(sum.z, std::hypot(sum.x, sum.y)) / kDegree)};
}

}  // namespace

struct local_projection::transformations {
  std::unique_ptr<OGRCoordinateTransformation> forward, backward;
  double semi_major = 0;  // in kilometres
  double squared_eccentricity = 0;
};

local_projection::local_projection(const std::vector<xy>& lonlat,
                                   const std::string& reference_system)
    : centre_(mean_of(lonlat)), transform_(std::make_unique<transformations>()) {
  start_gdal(false);
  OGRSpatialReference degrees;
  if (reference_system.empty() || degrees.importFromWkt(reference_system.c_str()) != OGRERR_NONE) {
    degrees.importFromEPSG(4326);
  }
  degrees.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  OGRSpatialReference plane;
  plane.SetProjCS("local");
  plane.CopyGeogCSFrom(&degrees);
  plane.SetAE(centre_.y, centre_.x, 0, 0);
  plane.SetLinearUnits("kilometre", 1000);
  transform_->forward.reset(OGRCreateCoordinateTransformation(&degrees, &plane));
  transform_->backward.reset(OGRCreateCoordinateTransformation(&plane, &degrees));
  if (!transform_->forward || !transform_->backward) {
    fail_data(std::string("no projection of longitude and latitude: ") + CPLGetLastErrorMsg());
  }
  transform_->semi_major = degrees.GetSemiMajor() / 1000;
  transform_->squared_eccentricity = degrees.GetSquaredEccentricity();

  // It grows with the distance from the centre, so the farthest places have the largest one.
  const vector3 middle = on_sphere(centre_);
  const auto farther = [&](const xy& a, const xy& b) {
    return dot(on_sphere(a), middle) < dot(on_sphere(b), middle);
  };
  distortion_ = distortion_at(*std::min_element(lonlat.begin(), lonlat.end(), farther));
}

local_projection::~local_projection() = default;

std::string local_projection::description() const {
  const auto side = [](double degrees, const char* positive, const char* negative) {
    return rounded(std::fabs(degrees), 10) + " " + (degrees < 0 ? negative : positive);
  };
  return "azimuthal equidistant about " + side(centre_.y, "N", "S") + ", " +
         side(centre_.x, "E", "W");
}

std::vector<xy> local_projection::to_plane(const std::vector<xy>& lonlat) const {
  std::vector<double> x(lonlat.size());
  std::vector<double> y(lonlat.size());
  std::vector<int> done(lonlat.size());
  for (std::size_t i = 0; i < lonlat.size(); ++i) {
    x[i] = lonlat[i].x;
    y[i] = lonlat[i].y;
  }
  transform_->forward->Transform(static_cast<int>(x.size()), x.data(), y.data(), nullptr,
                                 done.data());
  std::vector<xy> plane(lonlat.size());
  for (std::size_t i = 0; i < plane.size(); ++i) {
    if (done[i] == 0 || !std::isfinite(x[i]) || !std::isfinite(y[i])) {
      fail_data("(" + rounded(lonlat[i].x, 10) + ", " + rounded(lonlat[i].y, 10) +
                ") has no image in the projection, " + description() +
                ": the places lie too far apart");
    }
    plane[i] = {x[i], y[i]};
  }
  return plane;
}

std::vector<xy> local_projection::to_degrees(const std::vector<xy>& plane) const {
  std::vector<xy> result;
  for (const xy& p : plane) result.push_back(to_degrees(p));
  return result;
}

xy local_projection::to_degrees(const xy& plane) const {
  double x = plane.x;
  double y = plane.y;
  if (transform_->backward->Transform(1, &x, &y) == 0 || !std::isfinite(x) || !std::isfinite(y)) {
    fail_data("(" + rounded(plane.x) + ", " + rounded(plane.y) +
              ") km from the centre of the projection is no place on earth");
  }
  return {x, y};
}

// Tissot: the singular values of the derivative, measured on the ellipsoid by its radii of
// curvature.
double local_projection::distortion_at(const xy& lonlat) const {
  constexpr double kStep = 1e-3;  // degrees
  const double lat = std::clamp(lonlat.y, -89.9, 89.9);
  const std::vector<xy> p = to_plane({{lonlat.x + kStep, lat},
                                      {lonlat.x - kStep, lat},
                                      {lonlat.x, lat + kStep},
                                      {lonlat.x, lat - kStep}});
  const double e2 = transform_->squared_eccentricity;
  const double w = 1 - e2 * std::pow(std::sin(lat * kDegree), 2);
  const double across = transform_->semi_major / std::sqrt(w);
  const double along = across * (1 - e2) / w;
  const double east = 2 * kStep * kDegree * across * std::cos(lat * kDegree);
  const double north = 2 * kStep * kDegree * along;
  const double a = (p[0].x - p[1].x) / east;
  const double b = (p[2].x - p[3].x) / north;
  const double c = (p[0].y - p[1].y) / east;
  const double d = (p[2].y - p[3].y) / north;
  const double sum = std::hypot(a + d, c - b);
  const double difference = std::hypot(a - d, c + b);
  const double largest = (sum + difference) / 2;
  const double smallest = std::fabs(sum - difference) / 2;
  return std::max(std::fabs(largest - 1), std::fabs(1 - smallest));
}

}  // namespace planloc::tool
