// The rows of the class-map handlers.
#include "tests/cli/handler_table.h"

namespace kvel::cli::test::handler_table_class_map {
namespace {

using Texts = std::vector<TextToken>;
using Numbers = std::vector<NumberToken>;
using Worded = std::vector<WordedStatus>;

const Texts kAnyName = {{8, "<name>"}, {18, "<name>"}, {103, "<name>"}, {173, "<name>"}, {183, "<name>"}};
const Texts kLayer34Name = {{8, "<name>"}};
const Texts kManagementName = {{183, "<name>"}};
const Texts kInspectionName = {{103, "<name>"}};
const Numbers kLayer34Line = {{201, "<line>"}};
const Numbers kManagementLine = {{194, "<line>"}};
const Numbers kInspectionLine = {{106, "<line>"}};
const Numbers kBalancingLine = {{19, "<line>"}, {504, "<line>"}};
const Worded kNotConfigured = {{0x40f3000a, "Error: class-map '<name>' not configured\n"}};

Handlers objects() {
  return {
      {.label = "class-map",
       .name = "kvelclassmap_config",
       .keywords = "8-10 15-18 102-105 172 173 178 182 183 195 196",
       .texts = kAnyName,
       .call = "cm_add_or_lookup_classmap(u16 <context>, session <session>, u8 0, u8 1, '<name>', u8 <add>, "
               "buffer[4] 00000000)",
       .line = {{182}, {196}, {183, "web"}},
       .line_call = "cm_add_or_lookup_classmap(u16 <context>, session <session>, u8 1, u8 0, 'web', u8 <add>, "
                    "buffer[4] 00000000)",
       .bind = Bind::silent,
       .after_failed_bind = "return 255",
       .after_failure = "return 255",
       .skip = Skip::after_the_bind,
       .asks = "domain 5 '<name>' <negated>",
       .number_sign = NumberSign::refused_after_the_domain,
       .after_number_sign = "return 255",
       .worded = {{0x40f3000f, "Error: class-map '<name>', already exists with a different type\n"},
                  {0x40f3000a, "Error: class-map '<name>' not configured\n"},
                  {0x40f3009b, "Error: class-map '<name>' is in use. Deletion not allowed\n"}}},
      {.label = "description of a class-map",
       .name = "kvelclassmap_config_desc",
       .keywords = "5 8 18 103 173 183",
       .texts = {{8, "<name>"}, {18, "<name>"}, {103, "<name>"}, {173, "<name>"}, {183, "<name>"}, {5, "<text>", 240}},
       .call = "cm_update_classdesc(u16 <context>, session <session>, '<name>', '<text>', u8 <add>)",
       .line = {{8, "web"}, {5, "all of the web"}},
       .line_call = "cm_update_classdesc(u16 <context>, session <session>, 'web', 'all of the web', u8 <add>)",
       .bind = Bind::silent},
  };
}

Handlers layer34_rules() {
  return {
      {.label = "virtual address",
       .name = "kvelclassmap_configvip",
       .keywords = "8-10 201 203-206 209 226 229-236 251-266 270-276",
       .texts = kLayer34Name,
       .numbers = kLayer34Line,
       .call = "cm_update_class_to_vip(u16 <context>, session <session>, u8 0, u8 1, '<name>', u32 0, u32 4294967295, "
               "u32 0, u32 0, u32 0, u32 65535, u8 <add>, u32 <line>)",
       .line = {{8, "web"}, {9}, {201, 20}, {203, 0x0a010200}, {204, 0xffffff00}, {205}, {229}, {230, 80}, {231, 90}},
       .line_call = "cm_update_class_to_vip(u16 <context>, session <session>, u8 0, u8 0, 'web', u32 167838208, "
                    "u32 4294967040, u32 6, u32 0, u32 80, u32 90, u8 <add>, u32 20)"},
      {.label = "source and destination address",
       .name = "kvelclassmap_configsrcdstaddr",
       .keywords = "8-10 201 211-214",
       .texts = kLayer34Name,
       .numbers = kLayer34Line,
       .call = "cm_update_class_to_ip(u16 <context>, session <session>, u8 0, u8 1, u32 0, '<name>', u32 0, u32 0, "
               "u32 0, u32 0, u8 <add>, u32 <line>)",
       .line = {{8, "web"}, {9}, {201, 20}, {213, 0x0a010300}, {214, 0xffff0000}, {211, 0x0a010200}, {212, 0xffffff00}},
       .line_call = "cm_update_class_to_ip(u16 <context>, session <session>, u8 0, u8 0, u32 1, 'web', u32 167838208, "
                    "u32 4294967040, u32 167838464, u32 4294901760, u8 <add>, u32 20)"},
      {.label = "port",
       .name = "kvelclassmap_configport",
       .keywords = "8-10 201 216-225 237 238 241 242 252-254 256-262 264-266 271-275",
       .texts = kLayer34Name,
       .numbers = kLayer34Line,
       .call = "cm_update_class_to_port(u16 <context>, session <session>, u8 0, u8 1, '<name>', u32 0, u32 0, u32 0, "
               "u32 0, u8 <add>, u32 <line>)",
       .line = {{8, "web"}, {9}, {201, 20}, {216}, {218}, {219, 80}, {220, 90}},
       .line_call = "cm_update_class_to_port(u16 <context>, session <session>, u8 0, u8 0, 'web', u32 6, u32 0, "
                    "u32 80, u32 90, u8 <add>, u32 20)"},
      {.label = "anything",
       .name = "kvelclassmap_configanything",
       .keywords = "8-10 201",
       .texts = kLayer34Name,
       .numbers = kLayer34Line,
       .call = "cm_update_class_to_any(u16 <context>, session <session>, u8 0, u8 1, '<name>', u8 <add>, u32 <line>)",
       .line = {{8, "web"}, {9}, {201, 20}},
       .line_call = "cm_update_class_to_any(u16 <context>, session <session>, u8 0, u8 0, 'web', u8 <add>, u32 20)",
       .worded = kNotConfigured},
      {.label = "access list",
       .name = "kvelclassmap_configacl",
       .keywords = "8-10 201 210",
       .texts = {{8, "<name>"}, {210, "<list>"}},
       .numbers = kLayer34Line,
       .call = "cm_update_class_to_acl(u16 <context>, session <session>, u8 0, u8 1, '<name>', '<list>', u8 <add>, "
               "u32 <line>)",
       .line = {{8, "web"}, {9}, {201, 20}, {210, "inbound"}},
       .line_call = "cm_update_class_to_acl(u16 <context>, session <session>, u8 0, u8 0, 'web', 'inbound', u8 <add>, "
                    "u32 20)",
       .worded = kNotConfigured},
      {.label = "default inspection",
       .name = "kvelclassmap_configdefaultinsp",
       .keywords = "",
       .line = {{8, "web"}, {201, 20}},
       .bind = Bind::none,
       .closing = {out("Error: match cmd not supported/integrated yet\n")}},
      {.label = "management protocol",
       .name = "kvelclassmap_config_mgmtproto",
       .keywords = "180 183 185-196 200",
       .texts = kManagementName,
       .numbers = kManagementLine,
       .call = "cm_update_class_to_mgmtproto(u16 <context>, session <session>, u8 1, u8 1, '<name>', u32 0, u32 0, "
               "u32 0, u32 65535, u32 0, u32 0, u8 <add>, u32 <line>)",
       .line = {{183, "web"}, {196}, {194, 20}, {185}, {192, 0x0a010200}, {193, 0xffffff00}},
       .line_call = "cm_update_class_to_mgmtproto(u16 <context>, session <session>, u8 1, u8 0, 'web', u32 6, u32 0, "
                    "u32 22, u32 22, u32 167838208, u32 4294967040, u8 <add>, u32 20)",
       .worded = kNotConfigured},
  };
}

Handlers line_numbers() {
  return {
      {.label = "line of a layer-3/4 class-map",
       .name = "kvelclassmap_config_lineno",
       .keywords = "8-10 201",
       .texts = kLayer34Name,
       .numbers = kLayer34Line,
       .call = "cm_update_class_lineno(u16 <context>, session <session>, u8 0, u8 1, '<name>', u32 <line>)",
       .line = {{8, "web"}, {9}, {201, 20}},
       .line_call = "cm_update_class_lineno(u16 <context>, session <session>, u8 0, u8 0, 'web', u32 20)",
       .only_in_the_no_form = true,
       .worded = kNotConfigured},
      {.label = "line of a management class-map",
       .name = "kvelclassmap_config_mgmt_lineno",
       .keywords = "183 194-196",
       .texts = kManagementName,
       .numbers = kManagementLine,
       .call = "cm_update_class_lineno(u16 <context>, session <session>, u8 1, u8 1, '<name>', u32 <line>)",
       .line = {{183, "web"}, {196}, {194, 20}},
       .line_call = "cm_update_class_lineno(u16 <context>, session <session>, u8 1, u8 0, 'web', u32 20)",
       .only_in_the_no_form = true,
       .worded = kNotConfigured},
      {.label = "line of another class-map",
       .name = "kvelclassmap_delete_match_linenum",
       .keywords = "18 19 103 106 173 176",
       .texts = {{18, "<name>"}, {103, "<name>"}, {173, "<name>"}},
       .numbers = {{19, "<line>"}, {106, "<line>"}, {176, "<line>"}},
       .call = "cm_del_match_with_linenum(u16 <context>, '<name>', u32 <line>, u8 <add>)",
       .line = {{18, "web"}, {19, 20}},
       .line_call = "cm_del_match_with_linenum(u16 <context>, 'web', u32 20, u8 <add>)",
       .bind = Bind::none},
  };
}

Handlers inspection_rules() {
  return {
      {.label = "HTTP inspection",
       .name = "kvelclassmap_config_httpinspect",
       .keywords = "",
       .line = {{103, "web"}, {106, 20}},
       .bind = Bind::none},
      {.label = "FTP request method",
       .name = "kvelclassmap_config_ftpinspect",
       .keywords = "173 176 876-888",
       .texts = {{173, "<name>"}},
       .numbers = {{176, "<line>"}},
       .call = "cm_update_ftp_request_method_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
       .line = {{173, "web"}, {878}, {176, 20}},
       .line_call = "cm_update_ftp_request_method_match(u16 <context>, 'web', u32 20, u8 3, u8 <add>)"},
      {.label = "inspected header length",
       .name = "kvelclassmap_config_httpinsp_hdrlen",
       .keywords = "61-63 65 66 103 106 113 114",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_http_header_length_match(u16 <context>, '<name>', u32 <line>, u8 0, buffer[12] 00*12, "
               "u8 <add>)",
       .line = {{103, "web"}, {106, 20}, {114}, {65, 10}, {66, 20}},
       .line_call = "cm_update_http_header_length_match(u16 <context>, 'web', u32 20, u8 13, "
                    "buffer[12] 000000010000000a00000014, u8 <add>)"},
      {.label = "inspected header",
       .name = "kvelclassmap_config_httpinsp_hdr",
       .keywords = "44-60 103 106 115 116",
       .texts = {{103, "<name>"}, {116, "<value>", 255}},
       .numbers = kInspectionLine,
       .call = "cm_update_http_header_match(u16 <context>, '<name>', u32 <line>, '', '<value>', u8 <add>)",
       .line = {{103, "web"}, {106, 20}, {115, "X-Client"}, {116, "value"}},
       .line_call = "cm_update_http_header_match(u16 <context>, 'web', u32 20, 'X-Client', 'value', u8 <add>)"},
      {.label = "inspected URL",
       .name = "kvelclassmap_config_httpinsp_url",
       .keywords = "103 106 123-126 128 129",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_http_url_match(u16 <context>, '<name>', u32 <line>, u8 0, '', buffer[8] 00*8, u8 <add>)",
       .line = {{103, "web"}, {106, 20}, {128, 10}, {129, 20}, {123, "/a"}},
       .line_call = "cm_update_http_url_match(u16 <context>, 'web', u32 20, u8 9, '/a', buffer[8] 0000000a00000014, "
                    "u8 <add>)"},
      {.label = "inspected MIME type",
       .name = "kvelclassmap_config_httpinsp_mime",
       .keywords = "103 106 1001-1045",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_mime_type_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
       .line = {{103, "web"}, {1003}, {106, 20}},
       .line_call = "cm_update_mime_type_match(u16 <context>, 'web', u32 20, u8 35, u8 <add>)"},
      {.label = "inspected content",
       .name = "kvelclassmap_config_httpinsp_content",
       .keywords = "103 106 145 146",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_http_content_match(u16 <context>, '<name>', u32 <line>, '', u8 0, u8 <add>)",
       .line = {{103, "web"}, {106, 20}, {145, "secret"}, {146, 5}},
       .line_call = "cm_update_http_content_match(u16 <context>, 'web', u32 20, 'secret', u8 5, u8 <add>)"},
      {.label = "inspected content length",
       .name = "kvelclassmap_config_httpinsp_cntlen",
       .keywords = "103 106 132-134 136 137",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_http_content_length_match(u16 <context>, '<name>', u32 <line>, buffer[8] 00*8, u8 <add>)",
       .line = {{103, "web"}, {106, 20}, {136, 10}, {137, 20}},
       .line_call = "cm_update_http_content_length_match(u16 <context>, 'web', u32 20, buffer[8] 0000000a00000014, "
                    "u8 <add>)"},
      {.label = "inspected request method",
       .name = "kvelclassmap_config_httpinsp_method",
       .keywords = "103 106 1201-1227",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_request_method_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
       .line = {{103, "web"}, {1205}, {106, 20}},
       .line_call = "cm_update_request_method_match(u16 <context>, 'web', u32 20, u8 5, u8 <add>)"},
      {.label = "misuse of port 80",
       .name = "kvelclassmap_config_httpinsp_p80misuse",
       .keywords = "103 106 1251-1253",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_p80_misuse_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
       .line = {{103, "web"}, {1252}, {106, 20}},
       .line_call = "cm_update_p80_misuse_match(u16 <context>, 'web', u32 20, u8 2, u8 <add>)"},
      {.label = "inspected transfer encoding",
       .name = "kvelclassmap_config_httpinsp_encoding",
       .keywords = "103 106 1101-1106",
       .texts = kInspectionName,
       .numbers = kInspectionLine,
       .call = "cm_update_transfer_encoding_match(u16 <context>, '<name>', u32 <line>, u8 0, u8 <add>)",
       .line = {{103, "web"}, {1104}, {106, 20}},
       .line_call = "cm_update_transfer_encoding_match(u16 <context>, 'web', u32 20, u8 86, u8 <add>)"},
  };
}

Handlers balancing_rules() {
  return {
      {.label = "HTTP load-balancing",
       .name = "kvelclassmap_config_httplb",
       .keywords = "",
       .line = {{18, "web"}, {19, 20}},
       .bind = Bind::none},
      {.label = "balanced URL",
       .name = "kvelclassmap_config_httplburl",
       .keywords = "18 19 504 505 528 529 577",
       .texts = {{18, "<name>"}, {577, "<before>"}, {529, "<word>"}, {528, "<url>", 255}},
       .numbers = kBalancingLine,
       .call = "cm_update_lbclass_to_url(u16 <context>, '<name>', '<before>', u32 <line>, u32 0, '<word>', '<url>', "
               "u8 <add>)",
       .line = {{505, "web"}, {504, 20}, {577, "other"}, {528, "/img"}, {529, "word"}},
       .line_call = "cm_update_lbclass_to_url(u16 <context>, 'web', 'other', u32 20, u32 1, 'word', '/img', u8 <add>)"},
      {.label = "balanced cookie",
       .name = "kvelclassmap_config_httplbcookie",
       .keywords = "18 19 504-507 532 577",
       .texts = {{18, "<name>"}, {577, "<before>"}, {507, "<value>", 255}},
       .numbers = kBalancingLine,
       .call = "cm_update_lbclass_to_cookie(u16 <context>, '<name>', '<before>', u32 <line>, u32 0, u32 0, '', "
               "'<value>', u8 <add>)",
       .line = {{18, "web"}, {19, 20}, {577, "other"}, {506, "session"}, {507, "value"}, {532}},
       .line_call = "cm_update_lbclass_to_cookie(u16 <context>, 'web', 'other', u32 20, u32 0, u32 1, 'session', "
                    "'value', u8 <add>)"},
      {.label = "balanced header",
       .name = "kvelclassmap_config_httplbhdr",
       .keywords = "18 19 504 505 509-527 577",
       .texts = {{18, "<name>"}, {577, "<before>"}, {510, "<value>", 255}},
       .numbers = kBalancingLine,
       .call = "cm_update_lbclass_to_header(u16 <context>, '<name>', '<before>', u32 <line>, u32 0, '', '<value>', "
               "u8 <add>)",
       .line = {{18, "web"}, {19, 20}, {577, "other"}, {509, "X-Client"}, {510, "value"}},
       .line_call = "cm_update_lbclass_to_header(u16 <context>, 'web', 'other', u32 20, u32 0, 'X-Client', 'value', "
                    "u8 <add>)"},
      {.label = "balanced source address",
       .name = "kvelclassmap_config_httplbsrcaddr",
       .keywords = "18 19 504 505 570 571",
       .texts = {{18, "<name>"}},
       .numbers = {{19, "<line>"}, {504, "<line>"}, {570, "<address>"}},
       .call = "cm_update_lbclass_to_srcaddr(u16 <context>, '<name>', u32 <line>, u32 <address>, u32 4294967295, "
               "u32 0, u32 0, u8 <add>)",
       .line = {{18, "web"}, {19, 20}, {570, 0x0a010101}, {571, 0xffff0000}},
       .line_call = "cm_update_lbclass_to_srcaddr(u16 <context>, 'web', u32 20, u32 167837953, u32 4294901760, u32 1, "
                    "u32 0, u8 <add>)"},
      {.label = "nested class-map",
       .name = "kvelclassmap_config_httplbcmap",
       .keywords = "18 19 101",
       .texts = {{18, "<name>"}, {101, "<child>"}},
       .numbers = {{19, "<line>"}},
       .call = "cm_update_l7class_to_cmap(u16 <context>, session <session>, '<name>', u32 <line>, '<child>', u8 <add>)",
       .line = {{18, "web"}, {19, 20}, {101, "images"}},
       .line_call = "cm_update_l7class_to_cmap(u16 <context>, session <session>, 'web', u32 20, 'images', u8 <add>)",
       .worded = {{0x40f300f2, "Error: class-map '<child>' inturn has child class-map associated\n"},
                  {0x40f30106, "Error: class-map '<name>' is already child of other class-map(s)\n"}}},
      {.label = "SSL of a load-balancing class-map",
       .name = "kvelclassmap_config_httplbssl",
       .keywords = "",
       .line = {{18, "web"}, {19, 20}},
       .bind = Bind::none,
       .closing = {out("Error: this feature has yet to be supported\n")}},
  };
}

}  // namespace
}  // namespace kvel::cli::test::handler_table_class_map

namespace kvel::cli::test {

Handlers class_map_handlers() {
  using namespace handler_table_class_map;
  return joined({objects, layer34_rules, line_numbers, inspection_rules, balancing_rules});
}

}  // namespace kvel::cli::test
