#pragma once

#include <array>

namespace zorbel::demo {

/// One account of the demo service. The passwords are public on purpose: the service listens on loopback only
/// and holds phantoms, or whatever the user imported into a folder that goes away with it.
struct DemoAccount {
    const char* id;
    const char* email;
    const char* password;
    const char* name;
    const char* role;
    const char* organizationId;
    const char* organizationName;
};

inline constexpr const char* demoOrganizationId = "org-demo-clinic";
inline constexpr const char* otherOrganizationId = "org-other-clinic";

inline constexpr DemoAccount administratorAccount{
    "user-admin",   "admin@zorbel.example", "Demo-admin-1",      "Ada Admin",
    "CLIENT_ADMIN", demoOrganizationId,     "Demo Dental Clinic"};
inline constexpr DemoAccount readerAccount{
    "user-reader", "reader@zorbel.example", "Demo-reader-1",     "Rita Reader",
    "DOCTOR",      demoOrganizationId,      "Demo Dental Clinic"};
/// Signs in, but belongs to no clinic: everything clinical answers 403.
inline constexpr DemoAccount accountWithoutOrganization{
    "user-nowhere", "nowhere@zorbel.example", "Demo-nowhere-1", "Noah Nowhere", "DOCTOR", "", ""};
/// Belongs to another clinic, whose archive is empty unless a test puts something there.
inline constexpr DemoAccount otherOrganizationAccount{
    "user-other", "other@zorbel.example", "Demo-other-1",       "Otto Other",
    "DOCTOR",     otherOrganizationId,    "Other Dental Clinic"};

inline constexpr std::array<DemoAccount, 4> demoAccounts{
    administratorAccount, readerAccount, accountWithoutOrganization, otherOrganizationAccount};

} // namespace zorbel::demo
