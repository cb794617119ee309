#pragma once

// The network library as this folder uses it: compiled once, in asio.cpp.

#define BOOST_ASIO_SEPARATE_COMPILATION
#define BOOST_ASIO_NO_DEPRECATED

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

namespace vorlan::net {

namespace asio = boost::asio;
using boost::system::error_code;

// The concrete executor, since the library's erased one costs on each call.
using Executor = asio::io_context::executor_type;
using Socket = asio::basic_stream_socket<asio::ip::tcp, Executor>;
using Acceptor = asio::basic_socket_acceptor<asio::ip::tcp, Executor>;
using Timer =
    asio::basic_waitable_timer<std::chrono::steady_clock, asio::wait_traits<std::chrono::steady_clock>, Executor>;
using Endpoint = asio::ip::tcp::endpoint;
using TlsStream = asio::ssl::stream<Socket>;

} // namespace vorlan::net
