#pragma once
// The cap parameters of the Hardening Soil models (Hardening Soil and HS small), fitted so that
// one-dimensional primary loading of the model gives the coefficient of earth pressure K0nc and
// the tangent oedometer stiffness EOedRef at the vertical effective stress p_ref.
//
// The model (after Schanz, Vermeer and Bonnier 1999), with compression positive and principal
// effective stresses s1 >= s2 >= s3, cohesion c, friction angle phi:
//
//   stiffness   E50 = E50ref F(s3), Eur = Eurref F(s3), F = ((c cos phi + s3 sin phi) /
//               (c cos phi + p_ref sin phi))^m; unloading and reloading isotropic with Eur, nu_ur
//   shear       f = (2 / Ei) q / (1 - q / qa) - 2 q / Eur - gamma_p, q = s1 - s3,
//               Ei = 2 E50 / (2 - Rf), qa = qf / Rf, qf = 2 sin phi (s3 + c cot phi) / (1 - sin
//               phi); flow from g = (s1 - s3) / 2 - (s1 + s3) / 2 sin psi_m, so that d gamma_p is
//               the multiplier (the pairs s1-s2 and s1-s3 act alike where s2 = s3)
//   cap         fc = qt^2 / M^2 + p^2 - pp^2, p = (s1 + s2 + s3) / 3,
//               qt = s1 + (d - 1) s2 - d s3, d = (3 + sin phi) / (3 - sin phi); associated flow;
//               hardening d pp = H (pp / p_ref)^m d eps_v^pc with 1 / H = 1 / Kc - 1 / Ks,
//               Ks = Eurref / (3 (1 - 2 nu_ur)), so Ks/Kc = 1 + Ks / H
//
// One-dimensional primary loading from a K0nc state (c = 0): s1 = s, s2 = s3 = K0nc s, every
// modulus scales with s^m and every strain rate with s^-m, so K0nc holds at every stress once it
// holds at one, and the oedometer stiffness grows as (s / p_ref)^m. Per unit of d s at s = p_ref,
// with K = K0nc, q = (1 - K) p_ref, p = (1 + 2 K) p_ref / 3 and Eur' = Eurref K^m:
//
//   elastic     e1 = (1 - 2 nu K) / Eur',  e3 = (K - nu (1 + K)) / Eur'
//   shear       gamma_p follows the yield function along the path, gamma_p = A s^(1-m) p_ref^m,
//               A = (1 - K) ((2 - Rf) / (E50ref (1 - r)) - 2 / Eurref) K^-m with
//               r = q / qa = (1 - K)(1 - sin phi) Rf / (2 K sin phi), so that
//               l_s = d gamma_p = max(A (1 - m), 0); its flow at psi_m = 0 is (1/2, -1/4, -1/4)
//   cap         both orderings of s2 and s3 act alike: the flow per unit multiplier l_c is
//               (2 q / M^2)(1, -1/2, -1/2) + (2 p / 3)(1, 1, 1), of volume 2 p
//
//   no lateral strain:   e3 - l_s / 4 + l_c (2 p / 3 - q / M^2) = 0
//   oedometer stiffness: e1 + l_s / 2 + l_c (2 q / M^2 + 2 p / 3) = 1 / EOedRef
//
// which are linear in u = l_c and w = l_c / M^2, so the fit needs no iteration: w = (b1 - b3) / (3
// q), u = (2 b3 + b1) / (2 p), with b3 = l_s / 4 - e3 and b1 = 1 / EOedRef - e1 - l_s / 2. Then M =
// sqrt(u / w), and the hardening follows from the cap's volume: u 2 p = (pp / p_ref)^-m (d pp / d
// s) / H with pp = P p_ref, P = sqrt(q^2 / M^2 + p^2) per unit p_ref, so H = P^(1-m) / (2 p u). A
// fit exists when 1 / EOedRef exceeds the elastic volumetric compliance (u > 0) and the shear and
// elastic strains leave room for the cap's deviatoric part (w > 0).
//
// The fit takes the shear mechanism as changing no volume in this loading: psi = 0, or Rowe's
// mobilised dilatancy of the K0nc state is zero (sin phi_m = (1 - K0nc) / (1 + K0nc) at most
// sin phi_cv), which holds for normally consolidated soils.
//
// G50Ref is the shear modulus that goes with E50ref, E50ref / (2 (1 + nu_ur)).
//
// The formulation needs two inputs beyond the parameters of the cap's own formulae: the
// unloading-reloading stiffness eurRef (elastic strains and the cap's Ks) and the power m (the
// stiffness of the K0nc state at s1 = p_ref is that of s3 = K0nc p_ref).

#include <stdexcept>

namespace tw {

struct THSCapIterResult {
    double M;
    double KsKc;
    double G50Ref;
};

// Angles in degrees, stiffnesses in one pressure unit. With phi not positive, M and KsKc are 1.0.
// Throws std::domain_error("Unable to calculate %s due to division by 0 error.") with the name of
// the value when a divisor is zero, and std::domain_error("Unable to calculate %s: ...") with the
// reason when no cap gives K0nc and EOedRef together.
THSCapIterResult RunHSCapIter(double phiDegrees, double e50Ref, double eOedRef, double nuUr,
                              double rf, double k0nc, double eurRef, double powerM);

} // namespace tw
