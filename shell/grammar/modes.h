// The names of the shell's modes, as grammar files refer to them.
#pragma once

#include <string_view>

namespace kvel::shell {

inline constexpr std::string_view kConfigMode = "config";  // the top

inline constexpr std::string_view kClassMapL3Mode = "class-map-l3";
inline constexpr std::string_view kClassMapManagementMode = "class-map-management";
inline constexpr std::string_view kClassMapHttpLbMode = "class-map-http-lb";
inline constexpr std::string_view kClassMapHttpInspectionMode = "class-map-http-inspection";
inline constexpr std::string_view kClassMapFtpInspectionMode = "class-map-ftp-inspection";

inline constexpr std::string_view kPolicyMapL3Mode = "policy-map-l3";
inline constexpr std::string_view kPolicyMapHttpLbMode = "policy-map-http-lb";
inline constexpr std::string_view kPolicyMapHttpInspectionMode = "policy-map-http-inspection";
inline constexpr std::string_view kPolicyMapFtpInspectionMode = "policy-map-ftp-inspection";
inline constexpr std::string_view kPolicyMapManagementMode = "policy-map-management";

// A class of a policy-map.
inline constexpr std::string_view kPolicyL3ClassMode = "policy-map-l3-class";
inline constexpr std::string_view kPolicyHttpLbClassMode = "policy-map-http-lb-class";
inline constexpr std::string_view kPolicyHttpInspectionClassMode = "policy-map-http-inspection-class";
inline constexpr std::string_view kPolicyFtpInspectionClassMode = "policy-map-ftp-inspection-class";
inline constexpr std::string_view kPolicyManagementClassMode = "policy-map-management-class";

// A match written into a policy-map.
inline constexpr std::string_view kPolicyHttpLbMatchMode = "policy-map-http-lb-match";
inline constexpr std::string_view kPolicyHttpInspectionMatchMode = "policy-map-http-inspection-match";
inline constexpr std::string_view kPolicyFtpInspectionMatchMode = "policy-map-ftp-inspection-match";

inline constexpr std::string_view kParameterMapConnectionMode = "parameter-map-connection";
inline constexpr std::string_view kParameterMapHttpMode = "parameter-map-http";
inline constexpr std::string_view kParameterMapSslMode = "parameter-map-ssl";

inline constexpr std::string_view kSslProxyMode = "ssl-proxy";

}  // namespace kvel::shell
