// civetweb: a thread for each connection, no log.

#include <civetweb.h>

#include "benchmarks/http/servers/Common.h"

using namespace Zn::Bench;

namespace
{

constexpr unsigned cPool = 300;
constexpr std::size_t cNoCopyFrom = 16 * 1024; // below it one gathered write is cheaper than two

void Send(mg_connection* AConnection, std::string_view ABody, std::string_view AType)
{
    std::string head = "HTTP/1.1 200 OK\r\nContent-Type: ";
    head.append(AType).append("\r\nContent-Length: ").append(std::to_string(ABody.size())).append("\r\n\r\n");
    if (ABody.size() < cNoCopyFrom) {
        head.append(ABody);
        mg_write(AConnection, head.data(), head.size());
        return;
    }
    mg_write(AConnection, head.data(), head.size());
    mg_write(AConnection, ABody.data(), ABody.size());
}

int OnBody(mg_connection* AConnection, void* ABody)
{
    const auto& body = *static_cast<const TSite::TBody*>(ABody);
    Send(AConnection, body.Bytes, body.ContentType);
    return 200;
}

int OnFile(mg_connection* AConnection, void* ASite)
{
    const auto& site = *static_cast<const TSite*>(ASite);
    const std::string file = site.FileFor(mg_get_request_info(AConnection)->local_uri);
    mg_send_mime_file(AConnection, file.c_str(), std::string(cBytes).c_str());
    return 200;
}

int OnEcho(mg_connection* AConnection, void*)
{
    std::string body(static_cast<std::size_t>(mg_get_request_info(AConnection)->content_length), '\0');
    std::size_t have = 0;
    while (have < body.size()) {
        const int count = mg_read(AConnection, body.data() + have, body.size() - have);
        if (count <= 0)
            return 400;
        have += static_cast<std::size_t>(count);
    }
    Send(AConnection, body, cBytes);
    return 200;
}

void* Borrow(const void* AObject)
{
    return const_cast<void*>(AObject);
} // handlers read it only

} // namespace

int main(int argc, char** argv)
{
    BlockEndSignals();
    const TArguments arguments = TArguments::Read(argc, argv);
    const TSite site(arguments.Folder);

    const std::string port = "127.0.0.1:" + std::to_string(arguments.Port);
    const std::string threads = std::to_string(arguments.Threads != 0 ? arguments.Threads : cPool);
    // clang-format off
    const char* options[] = {
        "listening_ports", port.c_str(),
        "num_threads", threads.c_str(),
        "enable_keep_alive", "yes",
        "keep_alive_timeout_ms", "60000",
        "request_timeout_ms", "60000",
        "tcp_nodelay", "1",
        "listen_backlog", "1024",
        "connection_queue", "1024",
        nullptr};
    // clang-format on
    mg_init_library(0);
    const mg_callbacks callbacks{};
    mg_context* const server = mg_start(&callbacks, nullptr, options);
    if (server == nullptr)
        return 1;
    for (const char* const target : {"/text13", "/text4k", "/body100k"})
        mg_set_request_handler(server, target, &OnBody, Borrow(site.Find(target)));
    mg_set_request_handler(server, "/file10m", &OnFile, Borrow(&site));
    mg_set_request_handler(server, "/echo", &OnEcho, nullptr);
    WaitForEnd();
    mg_stop(server);
    mg_exit_library();
}
