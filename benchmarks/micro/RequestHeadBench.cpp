/// Time for one request head, all bytes there: this library's parser, http-parser and Boost.Beast.

#include <benchmark/benchmark.h>

#include <string_view>

#include "benchmarks/micro/HeadParsers.h"

namespace
{

using namespace Zn;

constexpr std::string_view Load = "GET /text13 HTTP/1.1\r\nHost: 127.0.0.1:8080\r\n\r\n";

constexpr std::string_view Browser =
    "GET /shop/articles/2041/pictures?size=large&page=3&sort=price%20up HTTP/1.1\r\n"
    "Host: www.example.com\r\n"
    "Connection: keep-alive\r\n"
    "Cache-Control: max-age=0\r\n"
    "Upgrade-Insecure-Requests: 1\r\n"
    "User-Agent: Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/120.0 "
    "Safari/537.36\r\n"
    "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,image/avif,image/webp,*/*;q=0.8\r\n"
    "Referer: http://www.example.com/shop/articles/2041\r\n"
    "Accept-Encoding: gzip, deflate\r\n"
    "Accept-Language: de-DE,de;q=0.9,en-US;q=0.8,en;q=0.7\r\n"
    "Cookie: session=0123456789abcdef0123456789abcdef; theme=dark; seen=1700000000\r\n"
    "If-None-Match: \"5f3c-61a2b3c4\"\r\n"
    "\r\n";

template <class TRead>
void Measure(benchmark::State& AState, std::string_view ABytes, TRead ARead)
{
    for (auto Each : AState) {
        benchmark::DoNotOptimize(ABytes);
        bool Taken = ARead(ABytes);
        benchmark::DoNotOptimize(Taken);
        if (!Taken)
            AState.SkipWithError("refused");
    }
    AState.SetBytesProcessed(static_cast<std::int64_t>(AState.iterations() * ABytes.size()));
}

void OfThisLibrary(benchmark::State& AState, std::string_view ABytes)
{
    RequestHeadParser Parser;
    Measure(AState, ABytes, [&](std::string_view AText) { return Bench::ReadByZn(Parser, AText); });
}

void OfHttpParser(benchmark::State& AState, std::string_view ABytes)
{
    Measure(AState, ABytes, Bench::ReadByHttpParser);
}

void OfBeast(benchmark::State& AState, std::string_view ABytes)
{
    Measure(AState, ABytes, Bench::ReadByBeast);
}

BENCHMARK_CAPTURE(OfThisLibrary, load, Load);
BENCHMARK_CAPTURE(OfHttpParser, load, Load);
BENCHMARK_CAPTURE(OfBeast, load, Load);
BENCHMARK_CAPTURE(OfThisLibrary, browser, Browser);
BENCHMARK_CAPTURE(OfHttpParser, browser, Browser);
BENCHMARK_CAPTURE(OfBeast, browser, Browser);

} // namespace

BENCHMARK_MAIN();
