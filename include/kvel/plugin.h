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

/* A command handler: 0 when the command was carried out, 1 or 255 after a failure. */
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

/* Status printers: the one line for a failed backend call, to standard output. */
KVEL_EXPORT void class_display_error(int32_t status);
KVEL_EXPORT void policy_display_error(int32_t status);
KVEL_EXPORT void parammap_display_error(int32_t status);
KVEL_EXPORT void ssl_proxy_display_error(int32_t status);

#ifdef __cplusplus
}
#endif

#endif
