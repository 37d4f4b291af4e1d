#pragma once

namespace zorbel {

/// The vendor's domain. The service answers on it and on its subdomains; links may point nowhere else.
inline constexpr char serviceDomain[] = "zorbel.example";

/// Used unless a link or ZORBEL_API_BASE_URL names another service.
inline constexpr char defaultApiBaseUrl[] = "https://app.zorbel.example";

} // namespace zorbel
