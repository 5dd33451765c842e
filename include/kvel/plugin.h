/* What libkvelcli exports. A host loads the library and looks these symbols up by name. C11 and C++20. */
#ifndef KVEL_PLUGIN_H
#define KVEL_PLUGIN_H

#include <stdint.h>

#include "kvel/command.h"
#include "kvel/completion.h"

#if defined(__GNUC__)
#define KVEL_EXPORT __attribute__((visibility("default")))
#else
#define KVEL_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A command handler: 0 when the command was carried out, or only reported as unsupported; 1 or 255 after a failure. */
typedef int32_t KvelHandler(const CliCommand* command);

/* A completion hook: a new list of object names, or null. Only the command's context_id is read. */
typedef CompletionList* KvelCompletionHook(uint32_t ignored, const CliCommand* command);

/* Class-maps. */
KVEL_EXPORT int32_t kvelclassmap_config(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_desc(const CliCommand* command);

/* Match rules of class-maps: layer-3/4, management, HTTP and FTP inspection, HTTP load-balancing. */
KVEL_EXPORT int32_t kvelclassmap_configvip(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_configsrcdstaddr(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_configport(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_configanything(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_configacl(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_configdefaultinsp(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_mgmtproto(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_lineno(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_mgmt_lineno(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_delete_match_linenum(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinspect(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_ftpinspect(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_hdrlen(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_hdr(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_url(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_mime(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_content(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_cntlen(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_method(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_p80misuse(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httpinsp_encoding(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httplb(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httplburl(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httplbcookie(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httplbhdr(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httplbsrcaddr(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httplbcmap(const CliCommand* command);
KVEL_EXPORT int32_t kvelclassmap_config_httplbssl(const CliCommand* command);

KVEL_EXPORT CompletionList* classmap_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* classmap_l3_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* classmap_mgmt_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* classmap_lb_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* classmap_insphttp_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* classmap_inspftp_completionhook(uint32_t ignored, const CliCommand* command);

/* Policy-maps and their classes. */
KVEL_EXPORT int32_t kvelpolicymap_config(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configclass(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configsequence(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configdescr(const CliCommand* command);

/* Actions of the classes of a layer-3/4 policy-map. */
KVEL_EXPORT int32_t kvelpolicymap_confignat(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configsacl(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configloadbalance(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configinspect_l3http(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configinspect_dns(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configinspect_icmp(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configinspect_ftp(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configinspect_rtsp(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_config_sslproxy_server(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configconn(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configappl_params(const CliCommand* command);

/* Actions and inline matches of load-balancing, HTTP-inspection, FTP-inspection and management policy-maps. */
KVEL_EXPORT int32_t kvelpolicymap_configslbactions(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_config_sslproxy_client(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_config_inline_lb(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_cfginsp_l7http_action(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configinspect_l7http(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configclass_insftpact(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configmatch_insftpreq(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configmgmt(const CliCommand* command);

/* Actions that are not supported. */
KVEL_EXPORT int32_t kvelpolicymap_configqos(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configinspect(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configfilter(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configrepconns(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configaaa(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configcookie(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_confighdr(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configurl(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configssl(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_confighdr_insp(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_configurl_insp(const CliCommand* command);

KVEL_EXPORT CompletionList* policymap_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* policymap_l3_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* policymap_lb_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* policymap_insphttp_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* policymap_inspftp_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* policymap_mgmt_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* policymap_svc_completionhook(uint32_t ignored, const CliCommand* command);

/* Service policies. */
KVEL_EXPORT int32_t kvelpolicymap_show_servicepolicy(const CliCommand* command);
KVEL_EXPORT int32_t kvelpolicymap_clear_servicepolicy(const CliCommand* command);
/* Prints one page of the statistics stream: `length` bytes at `data`, which hold as much as their counts give. What it
 * remembers of a page for the next one lives as long as the library is loaded. The continuation is not used. */
KVEL_EXPORT void format_and_display_policystats(uint8_t detail, const char* policy_name, int32_t length,
                                                const void* data, void* continuation);

/* Parameter-maps and SSL-proxy services. */
KVEL_EXPORT int32_t kvelparammap_config(const CliCommand* command);
KVEL_EXPORT int32_t kvelparammap_config_conn(const CliCommand* command);
KVEL_EXPORT int32_t kvelparammap_config_http(const CliCommand* command);
KVEL_EXPORT int32_t kvelparammap_config_ssl(const CliCommand* command);
KVEL_EXPORT int32_t kvelparammap_show_parammap(const CliCommand* command);
KVEL_EXPORT int32_t sslproxy_config(const CliCommand* command);
KVEL_EXPORT int32_t sslproxy_submode_config(const CliCommand* command);

/* The names of one kind of parameter-map: 0 connection, 1 HTTP, 2 SSL, 3 all. */
KVEL_EXPORT CompletionList* kvelparammap_hook(uint32_t kind, const CliCommand* command);
KVEL_EXPORT CompletionList* kvelparammap_conn_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* kvelparammap_http_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* kvelparammap_ssl_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* kvelparammap_completionhook(uint32_t ignored, const CliCommand* command);
KVEL_EXPORT CompletionList* sslproxy_completionhook(uint32_t ignored, const CliCommand* command);

/* Prints the `length` bytes of a page of cm_show_parameter_map; 1 when there is no page. */
KVEL_EXPORT int32_t format_and_display_param_map(const void* page, int32_t length);
/* Writes the name of a cipher (0 to 11) into a buffer of 65 bytes, or leaves it alone; returns it. */
KVEL_EXPORT char* pm_format_ssl_cipher_str(uint32_t code, char* buffer);

/* Status printers: the one line for a failed backend call, to standard output. */
KVEL_EXPORT void class_display_error(int32_t status);
KVEL_EXPORT void policy_display_error(int32_t status);
KVEL_EXPORT void parammap_display_error(int32_t status);
KVEL_EXPORT void ssl_proxy_display_error(int32_t status);

#ifdef __cplusplus
}
#endif

#endif
