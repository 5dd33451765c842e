// The examples in docs/rpc.md are what the code really sends.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "kvel/rpc.h"
#include "rpc/client/client.h"
#include "rpc/client/remote_channel.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing::document_test {
namespace {

// The bytes in the document's block "```hex NAME"; on each line, what follows "#" is a comment.
std::string example(const std::string& name) {
  std::ifstream document(KVEL_DOCUMENTS "/rpc.md");
  std::string line;
  while (std::getline(document, line) && line != "```hex " + name) {
  }
  std::string bytes;
  while (std::getline(document, line) && line != "```")
    bytes += from_hex(line.substr(0, line.find('#')));
  return bytes;
}

TEST(Document, ShowsWhatAClientSendsAndReceives) {
  TempFolder folder;
  std::string hello;
  std::string request;
  {
    const ScriptedServer server(folder.file("manager"), {[&](PlainSocket& client) {
                                  hello = client.receive(8);
                                  client.send(example("server-hello"));
                                  request = client.receive(example("request").size());
                                  client.send(example("answer"));
                                  EXPECT_EQ(client.receive_to_end(), "");
                                }});
    RemoteChannel channel(*parse_address(folder.file("manager")), kAmple);
    const InstalledChannel installed(channel);
    unsigned char result[4] = {};
    EXPECT_EQ(tnrpc_call("cm_add_or_lookup_classmap", 7, 1, 300, 6, 70000U, 0, 0, 0, 1, 4, "web", 0, 1, 8,
                         static_cast<void*>(result), 4U),
              0)
        << channel.last_failure();
    EXPECT_EQ(to_hex({reinterpret_cast<char*>(result), 4}), "00 00 00 01");
  }
  EXPECT_EQ(to_hex(hello), to_hex(example("client-hello")));
  EXPECT_EQ(to_hex(request), to_hex(example("request")));
}

TEST(Document, ShowsWhatAServerSends) {
  TempFolder folder;
  RecordingService service;
  service.set_reply([](std::span<const Argument> arguments) {
    arguments[6].bytes[3] = std::byte{1};
    return Status::ok;
  });
  const ServerThread server(service, folder.file("manager"));
  PlainSocket client = PlainSocket::connect(folder.file("manager"));
  client.send(example("client-hello"));
  EXPECT_EQ(to_hex(client.receive(8)), to_hex(example("server-hello")));
  client.send(example("request"));
  EXPECT_EQ(to_hex(client.receive(example("answer").size())), to_hex(example("answer")));
  service.set_reply([](std::span<const Argument>) { return Status::class_map_type_differs; });
  client.send(example("request"));
  EXPECT_EQ(to_hex(client.receive(example("failure").size())), to_hex(example("failure")));
  EXPECT_EQ(service.calls()[0],
            "cm_add_or_lookup_classmap, u16 300, session 70000, u8 0, u8 1, string 'web', u8 1, out 4");
}

}  // namespace
}  // namespace kvel::rpc::testing::document_test
