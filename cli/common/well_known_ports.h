// The keywords of well-known ports that class-map rules share.
#pragma once

#include "cli/common/keyword_table.h"
#include "kvel/keywords.h"

namespace kvel::cli {

// Sets the member to the port of a well-known keyword. The keywords of wap-wsp-s and wap-wsp-wtp do not follow the
// order of their ports; that is deliberate.
// clang-format off
template <auto Member>
using WellKnownPorts = KeywordRows<
    On<Ids<kw::well_known_matip_type_a>, Set<Member, 350U>>,
    On<Ids<kw::well_known_nntp>, Set<Member, 119U>>,
    On<Ids<kw::well_known_ftp>, Set<Member, 21U>>,
    On<Ids<kw::well_known_smtp>, Set<Member, 25U>>,
    On<Ids<kw::well_known_telnet>, Set<Member, 23U>>,
    On<Ids<kw::well_known_http, kw::well_known_www>, Set<Member, 80U>>,
    On<Ids<kw::well_known_https>, Set<Member, 443U>>,
    On<Ids<kw::well_known_rtsp>, Set<Member, 554U>>,
    On<Ids<kw::well_known_pop2>, Set<Member, 109U>>,
    On<Ids<kw::well_known_pop3>, Set<Member, 110U>>,
    On<Ids<kw::well_known_ftp_data>, Set<Member, 20U>>,
    On<Ids<kw::well_known_domain_tcp, kw::well_known_domain_udp>, Set<Member, 53U>>,
    On<Ids<kw::well_known_wap_wsp>, Set<Member, 9200U>>,
    On<Ids<kw::well_known_wap_wsp_s>, Set<Member, 9202U>>,
    On<Ids<kw::well_known_wap_wsp_wtp>, Set<Member, 9201U>>,
    On<Ids<kw::well_known_wap_wsp_wtp_s>, Set<Member, 9203U>>>;
// clang-format on

}  // namespace kvel::cli
