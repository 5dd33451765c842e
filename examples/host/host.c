/* A complete host of the plug-in: it offers every platform function, runs a few commands, and prints what each of them
 * asks of its host. The backend is a toy that remembers names of class-maps and has one service policy.
 *
 *   cc host.c $(pkg-config --cflags --libs kvel-plugin) -o host
 *   ./host $(pkg-config --variable=plugin kvel-plugin) */
#include <dlfcn.h>
#include <kvel/host.h>
#include <kvel/keywords.h>
#include <kvel/output.h>
#include <kvel/plugin.h>
#include <kvel/rpc.h>
#include <kvel/status.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { NAME_SIZE = 65, MOST_NAMES = 3, MOST_ARGUMENTS = 16, RECORD_SIZE = 260 };

/* ---- the backend */

typedef struct Argument {
  uint32_t number; /* or the length of a buffer */
  const char* text;
  unsigned char* buffer;
  TnrpcResponse* response;
} Argument;

static char names[MOST_NAMES][NAME_SIZE];
static int32_t name_count;

/* Integers in buffers and responses are big-endian, whatever this machine is. */
static void put_u32(unsigned char* bytes, uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8)
    *bytes++ = (unsigned char)(number >> shift);
}

/* A page of zeros; the plug-in hands it back to tnrpc_free. */
static unsigned char* new_page(TnrpcResponse* response, int32_t length) {
  response->data = calloc(1, (size_t)length);
  response->length = response->data != NULL ? length : 0;
  return response->data;
}

/* u16, session, u8 type, u8 mode, string name, u8 add, out buffer(4) */
static int32_t add_class_map(const Argument* arguments) {
  if (name_count == MOST_NAMES) return KVEL_STATUS_store_full;
  snprintf(names[name_count++], NAME_SIZE, "%s", arguments[4].text);
  return KVEL_STATUS_ok;
}

/* u16, u32 kind, in/out buffer(65) cursor, in/out buffer(4) more, response: all names on one page */
static int32_t list_class_maps(const Argument* arguments) {
  put_u32(arguments[3].buffer, 0); /* no more pages */
  unsigned char* page = new_page(arguments[4].response, name_count * NAME_SIZE);
  if (page != NULL) memcpy(page, names, (size_t)name_count * NAME_SIZE);
  return page != NULL ? KVEL_STATUS_ok : KVEL_STATUS_internal;
}

/* u16, string policy, u32 detail, in/out buffer(20) position, in/out buffer(4) more, response */
static int32_t show_service_policy(const Argument* arguments) {
  unsigned char* page = new_page(arguments[5].response, 2 * RECORD_SIZE);
  if (page == NULL) return KVEL_STATUS_internal;
  put_u32(page, 2);               /* the record of a policy ... */
  put_u32(page + 4, 1);           /* ... of one class ... */
  put_u32(page + 12, 1);          /* ... that is applied, to all traffic */
  put_u32(page + RECORD_SIZE, 1); /* the record of a class, without actions */
  memcpy(page + RECORD_SIZE + 12, names[0], NAME_SIZE);
  return KVEL_STATUS_ok;
}

/* ---- the RPC client library */

int32_t tnrpc_clnt_init(int32_t service) { return service == TNRPC_SERVICE_CLASSIFICATION ? 0 : KVEL_STATUS_transport; }

int32_t tnrpc_call(const char* name, int32_t nargs, ...) {
  Argument arguments[MOST_ARGUMENTS] = {{0}};
  if (nargs < 0 || nargs > MOST_ARGUMENTS) return KVEL_STATUS_bad_arguments;
  printf("  %s:", name);
  va_list list;
  va_start(list, nargs);
  for (Argument* argument = arguments; argument != arguments + nargs; ++argument) {
    const int type = va_arg(list, int);
    if (type == TNRPC_ARG_U8 || type == TNRPC_ARG_U16) {
      argument->number = (uint32_t)va_arg(list, int);
      printf(" %s %u", type == TNRPC_ARG_U8 ? "u8" : "u16", argument->number);
    } else if (type == TNRPC_ARG_U32 || type == TNRPC_ARG_SESSION) {
      argument->number = va_arg(list, uint32_t);
      printf(" %s %u", type == TNRPC_ARG_U32 ? "u32" : "session", argument->number);
    } else if (type == TNRPC_ARG_STRING) {
      argument->text = va_arg(list, const char*);
      printf(" '%s'", argument->text);
    } else if (type == TNRPC_ARG_BUFFER) {
      argument->buffer = va_arg(list, void*);
      argument->number = va_arg(list, uint32_t);
      printf(" buffer(%u)", argument->number);
    } else { /* TNRPC_ARG_RESPONSE: there is no other */
      argument->response = va_arg(list, TnrpcResponse*);
      printf(" response");
    }
  }
  va_end(list);
  printf("\n");
  if (strcmp(name, "cm_add_or_lookup_classmap") == 0) return add_class_map(arguments);
  if (strcmp(name, "cm_update_classdesc") == 0 || strcmp(name, "cm_update_class_to_port") == 0) return KVEL_STATUS_ok;
  if (strcmp(name, "cm_classmap_get_list") == 0) return list_class_maps(arguments);
  if (strcmp(name, "cm_show_service_policy") == 0) return show_service_policy(arguments);
  return KVEL_STATUS_unknown_call;
}

void tnrpc_init_resp(TnrpcResponse* response) { *response = (TnrpcResponse){0, NULL}; }

void tnrpc_free(TnrpcResponse* response) {
  free(response->data);
  tnrpc_init_resp(response);
}

const char* syserr2str(int32_t status) { return status == KVEL_STATUS_store_full ? "the store is full" : "it failed"; }

/* ---- the shell's checks: this session may do everything but delete */

int32_t vsh_platform_specific_rule_domain_check_valid(int32_t domain, const char* name, uint32_t negated) {
  printf("  may '%s' (of kind %d) be %s?\n", name, domain, negated != 0 ? "deleted" : "configured");
  return negated == 0; /* zero refuses */
}
int32_t vsh_platform_matched_rule_modify_check(uint32_t negated) { return negated != 0; /* nonzero refuses */ }

/* ---- the output library: text alone, so that elements and tags leave no trace */

void xprint_header(const char* tag) { (void)tag; }
void xprint_footer(const char* tag) { (void)tag; }
char* xmltag(char* buffer, int32_t count, ...) { return count > 0 ? buffer : NULL; }

/* A format with values in angle brackets has a tag as its first argument; the brackets go. */
void xprint(const char* format, ...) {
  char plain[512] = "";
  va_list list;
  va_start(list, format);
  if (strstr(format, "<%") != NULL) (void)va_arg(list, const char*);
  for (size_t length = 0; *format != '\0' && length < sizeof(plain) - 1; ++format)
    if (*format != '<' && *format != '>') plain[length++] = *format;
  vprintf(plain, list);
  va_end(list);
}

/* ---- the shell */

#define WORD(keyword, parameter) ((CliToken){KVEL_KW_##keyword, {0}, parameter})
static void* plugin;

/* Stores the address of an exported function in the pointer at `function`. */
static void find(const char* name, void* function) {
  void* symbol = dlsym(plugin, name);
  if (symbol == NULL) exit((fprintf(stderr, "%s\n", dlerror()), 2));
  memcpy(function, &symbol, sizeof(symbol));
}

/* The tokens end with one of keyword 0. */
static void run(const char* line, const char* handler, const CliToken* tokens) {
  CliCommand command = {.negated = strncmp(line, "no ", 3) == 0, .session_id = 7};
  for (; tokens->keyword_id != 0; ++tokens)
    command.tokens[command.token_count++] = tokens;
  KvelHandler* function;
  find(handler, &function);
  printf("> %s\n", line);
  printf("  returned %d\n", function(&command));
}

static void complete(const char* hook) {
  KvelCompletionHook* function;
  find(hook, &function);
  CompletionList* list = function(0, &(CliCommand){.session_id = 7}); /* ours to free, piece by piece */
  for (uint32_t index = 0; list != NULL && index < list->count; ++index) {
    printf("  %s\n", list->entries[index]->name);
    free(list->entries[index]->name);
    free(list->entries[index]->help);
    free(list->entries[index]);
  }
  if (list != NULL) free(list->entries);
  free(list);
}

int main(int argc, char** argv) {
  plugin = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (plugin == NULL) return fprintf(stderr, "%s\n", argc == 2 ? dlerror() : "usage: host PLUGIN"), 2;
  const CliToken web = WORD(class_map_l3_name, "web");
  run("class-map match-any web", "kvelclassmap_config", (CliToken[]){WORD(class_map_l3_match_any, NULL), web, {0}});
  run("class-map mail", "kvelclassmap_config", (CliToken[]){WORD(class_map_l3_name, "mail"), {0}});
  run("description Web traffic", "kvelclassmap_config_desc",
      (CliToken[]){web, WORD(class_map_description, "Web traffic"), {0}});
  run("match port tcp eq 443", "kvelclassmap_configport",
      (CliToken[]){
          web, WORD(port_tcp, NULL), WORD(port_tcp_equal, NULL), WORD(port_tcp_number, &(uint32_t){443}), {0}});
  run("no class-map web", "kvelclassmap_config", (CliToken[]){web, {0}});
  printf("> class-map <TAB>\n");
  complete("classmap_completionhook");
  run("show service-policy site", "kvelpolicymap_show_servicepolicy",
      (CliToken[]){WORD(service_policy_name, "site"), {0}});
  return dlclose(plugin) == 0 ? 0 : 2;
}
