// cpp-httplib: a thread for each connection, so its pool holds more threads than the bench opens connections.

#include <fcntl.h>
#include <httplib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "benchmarks/http/servers/Common.h"

using namespace Zn::Bench;

namespace
{

constexpr std::size_t cPool = 300;
constexpr std::size_t cNoCopyFrom = 16 * 1024; // below it one gathered string is cheaper than two writes

void SendMemory(httplib::Response& AResponse, const TSite::TBody& ABody)
{
    const std::string type(ABody.ContentType);
    if (ABody.Bytes.size() < cNoCopyFrom) {
        AResponse.set_content(ABody.Bytes.data(), ABody.Bytes.size(), type);
        return;
    }
    AResponse.set_content_provider(
        ABody.Bytes.size(), type,
        [&ABody](std::size_t AOffset, std::size_t ALength, httplib::DataSink& ASink) {
            return ASink.write(ABody.Bytes.data() + AOffset, ALength);
        });
}

// Read piece by piece; the library's own file handler would hold the whole file in memory.
void SendFile(httplib::Response& AResponse, const std::string& APath)
{
    const int file = open(APath.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info
    {
    };
    if (file < 0 || fstat(file, &info) != 0) {
        AResponse.status = 404;
        return;
    }
    auto buffer = std::make_shared<std::string>(256 * 1024, '\0');
    AResponse.set_content_provider(
        static_cast<std::size_t>(info.st_size), std::string(cBytes),
        [file, buffer](std::size_t AOffset, std::size_t ALength, httplib::DataSink& ASink) {
            const ssize_t count =
                pread(file, buffer->data(), std::min(ALength, buffer->size()), static_cast<off_t>(AOffset));
            return count > 0 && ASink.write(buffer->data(), static_cast<std::size_t>(count));
        },
        [file](bool) { close(file); });
}

} // namespace

int main(int argc, char** argv)
{
    BlockEndSignals();
    const TArguments arguments = TArguments::Read(argc, argv);
    const TSite site(arguments.Folder);

    httplib::Server server;
    const std::size_t pool = arguments.Threads != 0 ? arguments.Threads : cPool;
    server.new_task_queue = [pool] { return new httplib::ThreadPool(pool); };
    server.set_keep_alive_max_count(std::numeric_limits<int>::max());
    server.set_keep_alive_timeout(60);
    server.set_tcp_nodelay(true);
    int listener = -1;
    server.set_socket_options([&listener](int ASocket) {
        const int on = 1;
        setsockopt(ASocket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        listener = ASocket;
    });
    for (const char* const target : {"/text13", "/text4k", "/body100k"}) {
        const TSite::TBody* const body = site.Find(target);
        server.Get(target, [body](const httplib::Request&, httplib::Response& AResponse) {
            SendMemory(AResponse, *body);
        });
    }
    server.Get("/file10m", [&site](const httplib::Request& ARequest, httplib::Response& AResponse) {
        SendFile(AResponse, site.FileFor(ARequest.path));
    });
    server.Post("/echo", [](const httplib::Request& ARequest, httplib::Response& AResponse) {
        AResponse.set_content(ARequest.body, std::string(cBytes));
    });

    if (!server.bind_to_port("127.0.0.1", arguments.Port))
        return 1;
    // The packaged library listens with room for 5 connections; the bench opens 256 at once.
    listen(listener, 1024);
    std::thread serving([&server] { server.listen_after_bind(); });
    WaitForEnd();
    server.stop();
    serving.join();
}
