// The display of a service policy through the plug-in and the output library, against the plainest way to write the
// same bytes to the same place; the two in turn, medians in nanoseconds for one page of 300 actions.
//   bench_formatter text      fprintf of the same lines
//   bench_formatter xml       libxml2's text writer, writing the same elements
//   bench_formatter FORM N    ours alone, N pages: for a profiler
// Both sides are first compared byte by byte.
#include <dlfcn.h>
#include <libxml/xmlwriter.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "kvel/host.h"
#include "kvel/output.h"
#include "kvel/rpc.h"
#include "output/output.h"
#include "tests/cli/statistics_stream.h"

int32_t tnrpc_clnt_init(int32_t) { return 0; }
int32_t tnrpc_call(const char*, int32_t, ...) { return 0; }
void tnrpc_init_resp(TnrpcResponse* response) { *response = {}; }
void tnrpc_free(TnrpcResponse*) {}
const char* syserr2str(int32_t) { return ""; }
int32_t vsh_platform_specific_rule_domain_check_valid(int32_t, const char*, uint32_t) { return 1; }
int32_t vsh_platform_matched_rule_modify_check(uint32_t) { return 0; }

namespace {

namespace stream = kvel::cli::test::stream;
using kvel::output::Format;

constexpr int kRuns = 15;
constexpr int kPagesPerRun = 40;
constexpr unsigned kClasses = 60;
constexpr const char* kDocument = "xml_show_service_policy";

[[noreturn]] void give_up(const std::string& why) {
  std::fprintf(stderr, "bench_formatter: %s\n", why.c_str());
  std::exit(1);
}

// A class of the page: the same facts for the stream and for the floors.
struct ClassFacts {
  std::string name;
  stream::Counters counters;
};

std::vector<ClassFacts> make_classes() {
  std::vector<ClassFacts> classes;
  for (unsigned index = 0; index < kClasses; ++index) {
    char name[32];
    std::snprintf(name, sizeof name, "web-servers-of-site-%u", index);
    classes.push_back({name,
                       {.current_connections = 17 * index,
                        .hit_count = 1000003 * index,
                        .client_packets = 70001 * index,
                        .server_packets = 60000001 * index,
                        .client_bytes = 123456789012U * index,
                        .server_bytes = 9876543210987U * index,
                        .dropped_connections = index}});
  }
  return classes;
}
const std::vector<ClassFacts> kFacts = make_classes();

std::string make_page() {
  std::string page = stream::policy({.class_count = kClasses});
  for (const ClassFacts& facts : kFacts) {
    page += stream::class_map({.entry_count = 5, .name = facts.name});
    page += stream::action({.type = stream::kNat}) +
            stream::nat({.kind = 0, .vlan_or_pool = 5, .address_or_vlan = 20, .counters = facts.counters});
    page += stream::action({.type = stream::kLoadBalance}) + stream::load_balance({.counters = facts.counters});
    page += stream::action({.type = stream::kInspectHttp}) + stream::http({.counters = facts.counters});
    page += stream::action({.type = stream::kInspectFtp}) + stream::ftp({.counters = facts.counters});
    page += stream::action({.type = stream::kInspectDns}) + stream::dns({.counters = facts.counters});
  }
  return page;
}

using Formatter = void(std::uint8_t, const char*, std::int32_t, const void*, void*);

void write_ours(Format format, std::FILE* file) {
  static auto* const formatter = [] {
    void* library = dlopen(KVEL_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) give_up(dlerror());
    return reinterpret_cast<Formatter*>(dlsym(library, "format_and_display_policystats"));
  }();
  static const std::string page = make_page();
  kvel::output::begin(format, file);
  xprint_header(kDocument);
  formatter(0, "edge", static_cast<std::int32_t>(page.size()), page.data(), nullptr);
  xprint_footer(kDocument);
  if (!kvel::output::finish()) give_up("the output could not be written");
}

// ---- the floor of text

void print_counters(std::FILE* file, const stream::Counters& counters) {
  std::fprintf(file, "        curr conns       : %-10u, hit count        : %-10u\n", counters.current_connections,
               counters.hit_count);
  std::fprintf(file, "        dropped conns    : %-10u\n", counters.dropped_connections);
  std::fprintf(file, "        client pkt count : %-10u, client byte count: %-20llu\n", counters.client_packets,
               static_cast<unsigned long long>(counters.client_bytes));
  std::fprintf(file, "        server pkt count : %-10u, server byte count: %-20llu\n", counters.server_packets,
               static_cast<unsigned long long>(counters.server_bytes));
}

void write_text_floor(std::FILE* file) {
  for (const ClassFacts& facts : kFacts) {
    std::fprintf(file, "    class: %s\n", facts.name.c_str());
    std::fprintf(file, "      %s:\n", "nat");
    std::fprintf(file, "        nat %s %d vlan %d\n", "dynamic", 5, 20);
    print_counters(file, facts.counters);
    std::fprintf(file, "      %s:\n", "loadbalance");
    std::fprintf(file, "        L7 loadbalance policy: %s\n", "shop");
    std::fprintf(file, "        VIP Route Metric     : %d\n", 77);
    std::fprintf(file, "        VIP Route Advertise  : ENABLED\n");
    std::fprintf(file, "        VIP ICMP Reply       : ENABLED\n");
    std::fprintf(file, "        VIP State: %s\n", "INSERVICE");
    print_counters(file, facts.counters);
    std::fprintf(file, "      %s:\n", "inspect http");
    std::fprintf(file, "        L7 inspect policy : %s\n", "strict-http");
    std::fprintf(file, "        Url Logging: %s\n", "ENABLED");
    print_counters(file, facts.counters);
    std::fprintf(file, "        %s:\n", "L4 policy stats");
    std::fprintf(file, "          Total Req/Resp: %-10u , Total Allowed: %-10u\n", 2001U, 2002U);
    std::fprintf(file, "          Total Dropped : %-10u , Total Logged : %-10u\n", 2003U, 2004U);
    std::fprintf(file, "      %s:\n", "inspect ftp");
    std::fprintf(file, "        L7 inspect policy : %s\n", "no-put");
    std::fprintf(file, "        strict ftp: %s", "ENABLED");
    std::fprintf(file, "\n");
    print_counters(file, facts.counters);
    std::fprintf(file, "      %s:\n", "inspect dns");
    std::fprintf(file, "        max length: %u", 512U);
    std::fprintf(file, "\n");
    print_counters(file, facts.counters);
  }
  std::fflush(file);
}

// ---- the floor of XML

// libxml2's text writer, with its names and texts as they are typed here.
class XmlFloor {
 public:
  explicit XmlFloor(std::FILE* file) : writer_(xmlNewTextWriter(xmlOutputBufferCreateFile(file, nullptr))) {
    xmlTextWriterSetIndent(writer_, 1);
    xmlTextWriterSetIndentString(writer_, text("  "));
    xmlTextWriterWriteRaw(writer_, text("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"));
  }
  XmlFloor(const XmlFloor&) = delete;
  XmlFloor& operator=(const XmlFloor&) = delete;
  ~XmlFloor() { xmlFreeTextWriter(writer_); }

  void open(const char* name) { xmlTextWriterStartElement(writer_, text(name)); }
  void close() { xmlTextWriterEndElement(writer_); }
  void leaf(const char* name, const char* value) { xmlTextWriterWriteElement(writer_, text(name), text(value)); }
  void leaf(const char* name, std::uint64_t number) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%llu", static_cast<unsigned long long>(number));
    leaf(name, digits);
  }
  void counters(const stream::Counters& counters) {
    leaf("sp_curr_conns", counters.current_connections);
    leaf("sp_hit_count", counters.hit_count);
    leaf("sp_drop_conns", counters.dropped_connections);
    leaf("sp_pkt_count_client", counters.client_packets);
    leaf("sp_byte_count_client", counters.client_bytes);
    leaf("sp_pkt_count_server", counters.server_packets);
    leaf("sp_byte_count_server", counters.server_bytes);
  }

 private:
  static const xmlChar* text(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

  xmlTextWriterPtr writer_;
};

void write_class(XmlFloor& xml, const ClassFacts& facts) {
  xml.open("sp_class_type");
  xml.open("sp_nat");
  xml.leaf("sp_action_name", "nat");
  xml.open("sp_actions");
  xml.open("sp_action");
  xml.leaf("sp_nat_type", "dynamic");
  xml.leaf("sp_nat_pool_id", 5);
  xml.leaf("sp_nat_vlan", 20);
  xml.counters(facts.counters);
  for (int left = 4; left > 0; --left)
    xml.close();

  xml.open("sp_class_type");
  xml.open("sp_loadbalance");
  xml.leaf("sp_action_name", "loadbalance");
  xml.leaf("sp_lb_policymap", "shop");
  xml.leaf("sp_lb_rhi_metric", 77);
  xml.leaf("text", "VIP Route Advertise  : ENABLED");
  xml.leaf("text", "VIP ICMP Reply       : ENABLED");
  xml.leaf("sp_lb_vip_state", "INSERVICE");
  xml.counters(facts.counters);
  xml.close();
  xml.close();

  xml.open("sp_class_type");
  xml.open("sp_inspecthttp");
  xml.leaf("sp_action_name", "inspect http");
  xml.leaf("sp_insphttp_policymap", "strict-http");
  xml.leaf("sp_insphttp_urllog", "ENABLED");
  xml.counters(facts.counters);
  xml.leaf("sp_insphttp_l4stats1", "L4 policy stats");
  xml.leaf("sp_insphttp_l4stats1", 2001);
  xml.leaf("sp_insphttp_l4stats1", 2002);
  xml.leaf("sp_insphttp_l4stats2", 2003);
  xml.leaf("sp_insphttp_l4stats2", 2004);
  xml.close();
  xml.close();

  xml.open("sp_class_type");
  xml.open("sp_inspectftp");
  xml.leaf("sp_action_name", "inspect ftp");
  xml.leaf("sp_inspftp_policymap", "no-put");
  xml.leaf("sp_inspftp_strict", "ENABLED");
  xml.counters(facts.counters);
  xml.close();
  xml.close();

  xml.open("sp_class_type");
  xml.open("sp_inspectdns");
  xml.leaf("sp_action_name", "inspect dns");
  xml.leaf("sp_inspdns_maxlen", 512);
  xml.counters(facts.counters);
  xml.close();
  xml.close();
}

void write_xml_floor(std::FILE* file) {
  XmlFloor xml(file);
  xml.open(kDocument);
  for (const ClassFacts& facts : kFacts) {
    xml.open("sp_class_map");
    xml.leaf("sp_class_name", facts.name.c_str());
    xml.open("sp_class_types");
    write_class(xml, facts);
    xml.close();
    xml.close();
  }
  xml.close();
}

// ---- measuring

template <class Write>
std::string bytes_of(Write&& write) {
  char* bytes = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&bytes, &size);
  write(file);
  std::fclose(file);
  std::string result(bytes, size);
  std::free(bytes);
  return result;
}

template <class Write>
double nanoseconds_of(Write&& write, std::FILE* file) {
  const auto start = std::chrono::steady_clock::now();
  for (int page = 0; page < kPagesPerRun; ++page)
    write(file);
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / kPagesPerRun;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

template <class Ours, class Floor>
void compare(Ours&& ours, Floor&& floor, std::FILE* file) {
  if (bytes_of(ours) != bytes_of(floor)) give_up("the two sides write different bytes");
  std::vector<double> our_times;
  std::vector<double> floor_times;
  for (int run = 0; run <= kRuns; ++run) {
    const double our_time = nanoseconds_of(ours, file);
    const double floor_time = nanoseconds_of(floor, file);
    if (run == 0) continue;
    our_times.push_back(our_time);
    floor_times.push_back(floor_time);
  }
  std::printf("%.0f %.0f\n", median(our_times), median(floor_times));
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view form = argc > 1 ? argv[1] : "";
  if (form != "text" && form != "xml") return 2;
  const Format format = form == "xml" ? Format::xml : Format::text;
  const auto ours = [format](std::FILE* file) { write_ours(format, file); };
  static_cast<void>(bytes_of(ours));  // the heading of the policy comes once

  std::FILE* nowhere = std::fopen("/dev/null", "w");
  if (nowhere == nullptr) give_up("/dev/null cannot be opened");
  if (argc > 2) {
    for (long left = std::atol(argv[2]); left > 0; --left)
      ours(nowhere);
  } else if (format == Format::xml) {
    compare(ours, write_xml_floor, nowhere);
  } else {
    compare(ours, write_text_floor, nowhere);
  }
  return std::fclose(nowhere) == 0 ? 0 : 1;
}
