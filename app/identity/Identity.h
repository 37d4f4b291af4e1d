#pragma once

namespace zorbel {

/// The names under which the system keeps this program's settings and cache.
inline constexpr char applicationName[] = "Zorbel Desktop Workstation";
inline constexpr char organizationName[] = "Quenmark";

} // namespace zorbel
