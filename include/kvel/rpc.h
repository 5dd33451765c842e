/* The RPC client library as the plug-in calls it; a host provides these symbols. C11 and C++20. */
#ifndef KVEL_RPC_H
#define KVEL_RPC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A variable-length result. `data` belongs to the RPC library until tnrpc_free; a failed call leaves nothing to free.
 */
typedef struct TnrpcResponse {
  int32_t length; /* bytes at data */
  void* data;
} TnrpcResponse;

/* Type codes of the variable arguments of tnrpc_call. Each argument is its code (int), then the value as noted. */
enum {
  TNRPC_ARG_U8 = 0,      /* int, 0 to 255 */
  TNRPC_ARG_U16 = 1,     /* int, 0 to 65535 */
  TNRPC_ARG_U32 = 2,     /* uint32_t */
  TNRPC_ARG_STRING = 4,  /* const char*, NUL-terminated */
  TNRPC_ARG_SESSION = 6, /* uint32_t */
  TNRPC_ARG_BUFFER = 8,  /* void*, then its length in bytes as uint32_t; in, out or both; contents big-endian */
  TNRPC_ARG_RESPONSE = 9 /* TnrpcResponse* */
};

/* The service number of the classification manager. */
enum { TNRPC_SERVICE_CLASSIFICATION = 2 };

/* All statuses: 0 success, others as in kvel/status.h. */
int32_t tnrpc_clnt_init(int32_t service);
int32_t tnrpc_call(const char* name, int32_t nargs, ...);
void tnrpc_init_resp(TnrpcResponse* response);
void tnrpc_free(TnrpcResponse* response);

/* The text of a status, for the user; never null, not to be freed, valid until the thread's next call. */
const char* syserr2str(int32_t status);

#ifdef __cplusplus
}
#endif

#endif
