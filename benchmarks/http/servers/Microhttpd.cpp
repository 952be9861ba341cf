// libmicrohttpd: its epoll mode with a pool of one thread a core, and responses made once.

#include <arpa/inet.h>
#include <fcntl.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <thread>

#include "benchmarks/http/servers/Common.h"

using namespace Zn::Bench;

namespace
{

const TSite* Site = nullptr;
MHD_Response* Text13 = nullptr;
MHD_Response* Text4K = nullptr;
MHD_Response* Body100K = nullptr;

void SetContentType(MHD_Response* AResponse, std::string_view AType)
{
    MHD_add_response_header(AResponse, MHD_HTTP_HEADER_CONTENT_TYPE, std::string(AType).c_str());
}

MHD_Response* FromMemory(const TSite::TBody& ABody)
{
    // The library takes the buffer as void* and does not write to it.
    MHD_Response* const response = MHD_create_response_from_buffer(
        ABody.Bytes.size(), const_cast<char*>(ABody.Bytes.data()), MHD_RESPMEM_PERSISTENT);
    SetContentType(response, ABody.ContentType);
    return response;
}

MHD_Result SendAndForget(MHD_Connection* AConnection, unsigned AStatus, MHD_Response* AResponse)
{
    const MHD_Result result = MHD_queue_response(AConnection, AStatus, AResponse);
    MHD_destroy_response(AResponse);
    return result;
}

MHD_Result SendFile(MHD_Connection* AConnection, const std::string& APath)
{
    const int file = open(APath.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info
    {
    };
    if (file < 0 || fstat(file, &info) != 0)
        return MHD_NO;
    MHD_Response* const response =
        MHD_create_response_from_fd64(static_cast<std::uint64_t>(info.st_size), file);
    SetContentType(response, cBytes);
    return SendAndForget(AConnection, MHD_HTTP_OK, response);
}

MHD_Result SendEcho(MHD_Connection* AConnection, std::string& ABody)
{
    MHD_Response* const response =
        MHD_create_response_from_buffer(ABody.size(), ABody.data(), MHD_RESPMEM_MUST_COPY);
    SetContentType(response, cBytes);
    return SendAndForget(AConnection, MHD_HTTP_OK, response);
}

MHD_Result SendNotFound(MHD_Connection* AConnection)
{
    return SendAndForget(AConnection, MHD_HTTP_NOT_FOUND,
                         MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT));
}

// Called once with the head, then for the body's pieces, and last with none left: the time to answer.
MHD_Result OnRequest(void*, MHD_Connection* AConnection, const char* ATarget, const char* AMethod,
                     const char*, const char* AData, std::size_t* ASize, void** AState)
{
    if (*AState == nullptr) {
        *AState = new std::string;
        return MHD_YES;
    }
    std::string& body = *static_cast<std::string*>(*AState);
    if (*ASize != 0) {
        body.append(AData, *ASize);
        *ASize = 0;
        return MHD_YES;
    }
    const std::string_view target = ATarget;
    if (std::string_view(AMethod) == MHD_HTTP_METHOD_POST && target == "/echo")
        return SendEcho(AConnection, body);
    if (target == "/text13")
        return MHD_queue_response(AConnection, MHD_HTTP_OK, Text13);
    if (target == "/text4k")
        return MHD_queue_response(AConnection, MHD_HTTP_OK, Text4K);
    if (target == "/body100k")
        return MHD_queue_response(AConnection, MHD_HTTP_OK, Body100K);
    if (const std::string file = Site->FileFor(target); !file.empty())
        return SendFile(AConnection, file);
    return SendNotFound(AConnection);
}

void OnCompleted(void*, MHD_Connection*, void** AState, MHD_RequestTerminationCode)
{
    delete static_cast<std::string*>(*AState);
    *AState = nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    BlockEndSignals();
    const TArguments arguments = TArguments::Read(argc, argv);
    const TSite site(arguments.Folder);
    Site = &site;
    Text13 = FromMemory(*site.Find("/text13"));
    Text4K = FromMemory(*site.Find("/text4k"));
    Body100K = FromMemory(*site.Find("/body100k"));

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(arguments.Port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const unsigned threads = arguments.Threads != 0 ? arguments.Threads : std::thread::hardware_concurrency();
    // clang-format off
    MHD_Daemon* const daemon = MHD_start_daemon(
        MHD_USE_EPOLL_INTERNAL_THREAD | MHD_USE_TURBO, arguments.Port, nullptr, nullptr, &OnRequest, nullptr,
        MHD_OPTION_SOCK_ADDR, &address,
        MHD_OPTION_THREAD_POOL_SIZE, threads,
        MHD_OPTION_CONNECTION_LIMIT, 16384U,
        MHD_OPTION_CONNECTION_TIMEOUT, 60U,
        MHD_OPTION_LISTEN_BACKLOG_SIZE, 1024U,
        MHD_OPTION_NOTIFY_COMPLETED, &OnCompleted, nullptr,
        MHD_OPTION_END);
    // clang-format on
    if (daemon == nullptr)
        return 1;
    WaitForEnd();
    MHD_stop_daemon(daemon);
}
