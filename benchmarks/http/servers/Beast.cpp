// Boost.Beast, asynchronous: one io_context, run by one thread or by two.

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/interprocess/file_mapping.hpp>
#include <boost/interprocess/mapped_region.hpp>
#include <thread>
#include <variant>

#include "benchmarks/http/servers/Common.h"

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace interprocess = boost::interprocess;
using asio::ip::tcp;
using namespace Zn::Bench;

namespace
{

// One connection: read a request, write its answer, again. Its strand runs one step at a time.
class TSession : public std::enable_shared_from_this<TSession>
{
public:
    TSession(tcp::socket ASocket, const TSite& ASite) : FStream(std::move(ASocket)), FSite(ASite)
    {
        FStream.socket().set_option(tcp::no_delay(true));
        FBuffer.reserve(16 * 1024); // it reads 512 bytes at a time into an empty one
    }

    void Start()
    {
        asio::dispatch(FStream.get_executor(), [self = shared_from_this()] { self->Read(); });
    }

private:
    void Read()
    {
        FRequest = {};
        FStream.expires_after(std::chrono::seconds(60));
        http::async_read(FStream, FBuffer, FRequest,
                         [self = shared_from_this()](beast::error_code AError, std::size_t) {
                             if (!AError)
                                 self->Answer();
                         });
    }

    void Answer()
    {
        const std::string_view target(FRequest.target().data(), FRequest.target().size());
        if (const TSite::TBody* const body = FSite.Find(target))
            Send<http::span_body<const char>>(
                http::status::ok, body->ContentType,
                beast::span<const char>(body->Bytes.data(), body->Bytes.size()));
        else if (const std::string file = FSite.FileFor(target); !file.empty())
            SendFile(file);
        else if (FRequest.method() == http::verb::post && target == "/echo")
            Send<http::string_body>(http::status::ok, cBytes, std::move(FRequest.body()));
        else
            Send<http::string_body>(http::status::not_found, cText, std::string());
    }

    // Its file_body reads and writes 4 KiB at a time; a mapping is what serves a large file well.
    void SendFile(const std::string& APath)
    {
        FFile = interprocess::mapped_region(
            interprocess::file_mapping(APath.c_str(), interprocess::read_only), interprocess::read_only);
        Send<http::span_body<const char>>(
            http::status::ok, cBytes,
            beast::span<const char>(static_cast<const char*>(FFile.get_address()), FFile.get_size()));
    }

    template <typename TBody>
    void Send(http::status AStatus, std::string_view AType, typename TBody::value_type ABody)
    {
        auto& answer = FAnswer.emplace<http::response<TBody>>(AStatus, FRequest.version());
        answer.set(http::field::content_type, beast::string_view(AType.data(), AType.size()));
        answer.keep_alive(FRequest.keep_alive());
        answer.body() = std::move(ABody);
        answer.prepare_payload();
        http::async_write(
            FStream, answer,
            [self = shared_from_this(), close = answer.need_eof()](beast::error_code AError, std::size_t) {
                if (!AError && !close)
                    self->Read();
            });
    }

    beast::tcp_stream FStream;
    const TSite& FSite;
    interprocess::mapped_region FFile; // what FAnswer points into
    beast::flat_buffer FBuffer;
    http::request<http::string_body> FRequest;
    std::variant<std::monostate, http::response<http::span_body<const char>>,
                 http::response<http::string_body>>
        FAnswer; // lives until it is written
};

void Accept(asio::io_context& AContext, tcp::acceptor& AAcceptor, const TSite& ASite)
{
    AAcceptor.async_accept(asio::make_strand(AContext),
                           [&AContext, &AAcceptor, &ASite](beast::error_code AError, tcp::socket ASocket) {
                               if (!AError)
                                   std::make_shared<TSession>(std::move(ASocket), ASite)->Start();
                               Accept(AContext, AAcceptor, ASite);
                           });
}

} // namespace

int main(int argc, char** argv)
{
    BlockEndSignals();
    const TArguments arguments = TArguments::Read(argc, argv);
    const TSite site(arguments.Folder);

    const unsigned count = arguments.Threads != 0 ? arguments.Threads : 1;
    asio::io_context context(static_cast<int>(count));
    tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), arguments.Port});
    acceptor.listen(1024);
    Accept(context, acceptor, site);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < count; ++i)
        threads.emplace_back([&context] { context.run(); });
    WaitForEnd();
    context.stop();
    for (std::thread& thread : threads)
        thread.join();
}
