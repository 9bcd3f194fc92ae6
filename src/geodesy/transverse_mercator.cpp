#include "geodesy/transverse_mercator.h"

#include <array>
#include <cmath>
#include <limits>

#include "geodesy/constants.h"

namespace vellandra {
namespace {

constexpr double arcTolerance = 1e-9;

/// Radii of curvature in the prime vertical and in the meridian, and eta squared.
struct Curvature {
  double nu, rho, eta2;
};

Curvature curvatureAt(const TransverseMercator& projection, double phi) {
  const double sinPhi = std::sin(phi);
  const double w = 1 - projection.e2 * sinPhi * sinPhi;
  const double nu = projection.aF0 / std::sqrt(w);
  const double rho = projection.aF0 * (1 - projection.e2) * std::pow(w, -1.5);
  return {nu, rho, nu / rho - 1};
}

/// Scaled distance along the meridian from the true origin to latitude `phi` (radians), metres.
double meridionalArc(const TransverseMercator& projection, double phi) {
  const double n = projection.n, n2 = n * n, n3 = n2 * n;
  const double phi0 = projection.lat0 * degToRad;
  const double difference = phi - phi0, sum = phi + phi0;
  return projection.bF0 * ((1 + n + 5.0 / 4 * n2 + 5.0 / 4 * n3) * difference -
                           (3 * n + 3 * n2 + 21.0 / 8 * n3) * std::sin(difference) * std::cos(sum) +
                           (15.0 / 8 * n2 + 15.0 / 8 * n3) * std::sin(2 * difference) * std::cos(2 * sum) -
                           35.0 / 24 * n3 * std::sin(3 * difference) * std::cos(3 * sum));
}

/// Latitude in radians whose arc is `arc`. In a large arc one unit in the last place exceeds the tolerance, so the
/// search also ends when a step brings no gain; so it does for infinities and NaN.
double footpointLatitude(const TransverseMercator& projection, double arc) {
  double phi = arc / projection.aF0 + projection.lat0 * degToRad;
  double best = phi;
  double smallest = std::numeric_limits<double>::infinity();
  for (;;) {
    const double missing = arc - meridionalArc(projection, phi);
    if (!(std::abs(missing) < smallest)) return best;
    best = phi;
    smallest = std::abs(missing);
    if (smallest < arcTolerance) return best;
    phi += missing / projection.aF0;
  }
}

/// Radius of the sphere on which meridians have the length of those of the ellipsoid, times the scale.
double rectifyingRadius(const TransverseMercator& projection) {
  const double n2 = projection.n * projection.n;
  return projection.aF0 / (1 + projection.n) * (1 + n2 / 4 + n2 * n2 / 64);
}

}  // namespace

void toGrid(const TransverseMercator& projection, double lat, double lon, double& easting, double& northing) {
  const double phi = lat * degToRad;
  const double P = lon * degToRad - projection.lon0 * degToRad;
  const auto [nu, rho, eta2] = curvatureAt(projection, phi);
  const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
  const double cos3 = cosPhi * cosPhi * cosPhi, cos5 = cos3 * cosPhi * cosPhi;
  const double tan2 = std::tan(phi) * std::tan(phi), tan4 = tan2 * tan2;

  const double I = meridionalArc(projection, phi) + projection.N0;
  const double II = nu / 2 * sinPhi * cosPhi;
  const double III = nu / 24 * sinPhi * cos3 * (5 - tan2 + 9 * eta2);
  const double IIIA = nu / 720 * sinPhi * cos5 * (61 - 58 * tan2 + tan4);
  const double IV = nu * cosPhi;
  const double V = nu / 6 * cos3 * (nu / rho - tan2);
  const double VI = nu / 120 * cos5 * (5 - 18 * tan2 + tan4 + 14 * eta2 - 58 * tan2 * eta2);

  const double P2 = P * P;
  northing = I + P2 * (II + P2 * (III + P2 * IIIA));
  easting = projection.E0 + P * (IV + P2 * (V + P2 * VI));
}

void fromGrid(const TransverseMercator& projection, double easting, double northing, double& lat, double& lon) {
  const double phi = footpointLatitude(projection, northing - projection.N0);
  const auto [nu, rho, eta2] = curvatureAt(projection, phi);
  const double nu3 = nu * nu * nu, nu5 = nu3 * nu * nu, nu7 = nu5 * nu * nu;
  const double tanPhi = std::tan(phi), sec = 1 / std::cos(phi);
  const double tan2 = tanPhi * tanPhi, tan4 = tan2 * tan2, tan6 = tan4 * tan2;

  const double VII = tanPhi / (2 * rho * nu);
  const double VIII = tanPhi / (24 * rho * nu3) * (5 + 3 * tan2 + eta2 - 9 * tan2 * eta2);
  const double IX = tanPhi / (720 * rho * nu5) * (61 + 90 * tan2 + 45 * tan4);
  const double X = sec / nu;
  const double XI = sec / (6 * nu3) * (nu / rho + 2 * tan2);
  const double XII = sec / (120 * nu5) * (5 + 28 * tan2 + 24 * tan4);
  const double XIIA = sec / (5040 * nu7) * (61 + 662 * tan2 + 1320 * tan4 + 720 * tan6);

  const double E = easting - projection.E0, E2 = E * E;
  lat = (phi - E2 * (VII - E2 * (VIII - E2 * IX))) / degToRad;
  lon = (projection.lon0 * degToRad + E * (X - E2 * (XI - E2 * (XII - E2 * XIIA)))) / degToRad;
}

void toGridFar(const TransverseMercator& projection, double lat, double lon, double& easting, double& northing) {
  const double n = projection.n, n2 = n * n, n3 = n2 * n, n4 = n3 * n;
  const std::array<double, 4> alpha = {n / 2 - 2.0 / 3 * n2 + 5.0 / 16 * n3 + 41.0 / 180 * n4,
                                       13.0 / 48 * n2 - 3.0 / 5 * n3 + 557.0 / 1440 * n4,
                                       61.0 / 240 * n3 - 103.0 / 140 * n4, 49561.0 / 161280 * n4};
  const double sinPhi = std::sin(lat * degToRad), e = std::sqrt(projection.e2);
  const double tanConformal = std::sinh(std::atanh(sinPhi) - e * std::atanh(e * sinPhi));
  const double fromMeridian = (lon - projection.lon0) * degToRad;
  const double xiOnSphere = std::atan2(tanConformal, std::cos(fromMeridian));
  const double etaOnSphere = std::asinh(std::sin(fromMeridian) / std::hypot(tanConformal, std::cos(fromMeridian)));
  double xi = xiOnSphere, eta = etaOnSphere;
  for (std::size_t j = 0; j < alpha.size(); ++j) {
    const double multiple = 2 * (static_cast<double>(j) + 1);
    xi += alpha[j] * std::sin(multiple * xiOnSphere) * std::cosh(multiple * etaOnSphere);
    eta += alpha[j] * std::cos(multiple * xiOnSphere) * std::sinh(multiple * etaOnSphere);
  }
  easting = projection.E0 + rectifyingRadius(projection) * eta;
  northing = projection.N0 + rectifyingRadius(projection) * xi;
}

void fromGridFar(const TransverseMercator& projection, double easting, double northing, double& lat, double& lon) {
  const double n = projection.n, n2 = n * n, n3 = n2 * n, n4 = n3 * n;
  const std::array<double, 4> beta = {n / 2 - 2.0 / 3 * n2 + 37.0 / 96 * n3 - n4 / 360,
                                      n2 / 48 + n3 / 15 - 437.0 / 1440 * n4, 17.0 / 480 * n3 - 37.0 / 840 * n4,
                                      4397.0 / 161280 * n4};
  const std::array<double, 4> delta = {2 * n - 2.0 / 3 * n2 - 2 * n3 + 116.0 / 45 * n4,
                                       7.0 / 3 * n2 - 8.0 / 5 * n3 - 227.0 / 45 * n4, 56.0 / 15 * n3 - 136.0 / 35 * n4,
                                       4279.0 / 630 * n4};
  const double radius = rectifyingRadius(projection);
  const double xi = (northing - projection.N0) / radius;
  const double eta = (easting - projection.E0) / radius;
  double xiOnSphere = xi, etaOnSphere = eta;
  for (std::size_t j = 0; j < beta.size(); ++j) {
    const double multiple = 2 * (static_cast<double>(j) + 1);
    xiOnSphere -= beta[j] * std::sin(multiple * xi) * std::cosh(multiple * eta);
    etaOnSphere -= beta[j] * std::cos(multiple * xi) * std::sinh(multiple * eta);
  }
  const double conformal = std::asin(std::sin(xiOnSphere) / std::cosh(etaOnSphere));
  double phi = conformal;
  for (std::size_t j = 0; j < delta.size(); ++j) {
    phi += delta[j] * std::sin(2 * (static_cast<double>(j) + 1) * conformal);
  }
  lat = phi / degToRad;
  lon = projection.lon0 + std::atan2(std::sinh(etaOnSphere), std::cos(xiOnSphere)) / degToRad;
}

}  // namespace vellandra
