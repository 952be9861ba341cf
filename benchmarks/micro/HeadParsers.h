#pragma once

/// Three readers of a request head behind one face: true when the head is taken.

#include <http_parser.h>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <string_view>

#include "platform/httpapi/RequestHead.h"

namespace Zn::Bench
{

inline bool ReadByZn(RequestHeadParser& AParser, std::string_view ABytes)
{
    AParser.Reset();
    return AParser.Parse(ABytes) == HeadResult::Complete;
}

/// Stores what a server needs: target and fields as views, as the readers beside it do.
inline bool ReadByHttpParser(std::string_view ABytes)
{
    struct Head
    {
        std::string_view Target;
        std::vector<std::pair<std::string_view, std::string_view>> Fields;
        bool Complete = false;
    };
    static thread_local Head Into;
    static const http_parser_settings Settings = [] {
        http_parser_settings All;
        http_parser_settings_init(&All);
        All.on_url = [](http_parser*, const char* AAt, std::size_t ALength) {
            Into.Target = {AAt, ALength};
            return 0;
        };
        All.on_header_field = [](http_parser*, const char* AAt, std::size_t ALength) {
            Into.Fields.push_back({{AAt, ALength}, {}});
            return 0;
        };
        All.on_header_value = [](http_parser*, const char* AAt, std::size_t ALength) {
            Into.Fields.back().second = {AAt, ALength};
            return 0;
        };
        All.on_headers_complete = [](http_parser* AParser) {
            Into.Complete = true;
            http_parser_pause(AParser, 1);
            return 0;
        };
        return All;
    }();
    Into.Fields.clear();
    Into.Complete = false;
    http_parser Parser;
    http_parser_init(&Parser, HTTP_REQUEST);
    http_parser_execute(&Parser, &Settings, ABytes.data(), ABytes.size());
    const http_errno Error = HTTP_PARSER_ERRNO(&Parser);
    return Into.Complete && (Error == HPE_OK || Error == HPE_PAUSED);
}

inline bool ReadByBeast(std::string_view ABytes)
{
    boost::beast::http::request_parser<boost::beast::http::empty_body> Parser;
    Parser.eager(false);
    boost::system::error_code Error;
    Parser.put(boost::asio::buffer(ABytes.data(), ABytes.size()), Error);
    return !Error && Parser.is_header_done();
}

} // namespace Zn::Bench
