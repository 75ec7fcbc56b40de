#include "Decode/Rivals.h"
#include "EndToEnd/AsynchronousClient.h"
#include "EndToEnd/Query.h"
#include "Support/Rounds.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/json/src.hpp>  // the whole library, which is then nobody's to link

#include <deque>

namespace Benchmarks {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace json = boost::json;

static PlainArticle tag_invoke(json::value_to_tag<PlainArticle>, const json::value& value) {
  const auto& object = value.as_object();
  PlainArticle article;
  readArticle(article, [&](const char* key, auto& field) {
    field = json::value_to<std::remove_reference_t<decltype(field)>>(object.at(key));
    return true;
  });
  return article;
}

namespace {

std::string makeBody() {
  return json::serialize(json::object{{"via_id", Query::viaId},
                                      {"deflection_channel_id", Query::channelId},
                                      {"interaction_reference", Query::reference},
                                      {"interaction_reference_type", Query::referenceType},
                                      {"enquiry", Query::enquiry},
                                      {"locale", Query::locale},
                                      {"labels", json::array()}});
}

/// Throws if something is missing or of another type.
PlainReply decode(const std::string& text) {
  static unsigned char memory[65'536];
  json::monotonic_resource resource(memory);
  const auto root = json::parse(text, &resource);
  const auto& deflection = root.at("deflection");
  return {.deflectionId = json::value_to<std::int64_t>(deflection.at("id")),
          .authToken = json::value_to<std::string>(deflection.at("auth_token")),
          .articles = json::value_to<std::vector<PlainArticle>>(root.at("deflection_articles")),
          .token = json::value_to<std::string>(root.at("interaction_access_token"))};
}

struct Connection {
  Connection(asio::io_context& context, const std::string& host) : stream(context) {
    request.set(http::field::host, host);
    request.set(http::field::content_type, Query::contentType);
    for (const auto& [name, value] : Query::headers) request.set(name, value);
  }

  boost::beast::tcp_stream stream;
  boost::beast::flat_buffer buffer;
  http::request<http::string_body> request{http::verb::post, Query::path, 11};
};

class BeastClient final : public AsynchronousClient {
 public:
  explicit BeastClient(const Server& server)
      : host_(server.address.substr(server.address.find("//") + 2)) {
    const auto colon = host_.find(':');
    endpoints_ =
        asio::ip::tcp::resolver(context_).resolve(host_.substr(0, colon), host_.substr(colon + 1));
  }

 private:
  void askOne(Time begin) override {
    if (idle_.empty() && connections_.size() < mostConnections) {
      idle_.push_back(&connections_.emplace_back(context_, host_));
    }
    if (idle_.empty()) return waiting_.push_back(begin);
    auto& connection = *idle_.back();
    idle_.pop_back();
    asio::co_spawn(context_, converse(connection, begin), [](const std::exception_ptr& error) {
      if (error) std::rethrow_exception(error);
    });
  }

  /// Asks a question, and then what waits for a connection.
  asio::awaitable<void> converse(Connection& connection, Time begin) {
    auto& [stream, buffer, request] = connection;
    if (!stream.socket().is_open()) {
      stream.expires_after(std::chrono::seconds(10));
      co_await stream.async_connect(endpoints_, asio::use_awaitable);
      stream.socket().set_option(asio::ip::tcp::no_delay(true));
    }
    for (;;) {
      request.body() = makeBody();
      request.prepare_payload();
      stream.expires_after(std::chrono::seconds(30));
      co_await http::async_write(stream, request, asio::use_awaitable);
      http::response<http::string_body> response;
      co_await http::async_read(stream, buffer, response, asio::use_awaitable);
      if (response.result() != http::status::ok) giveUp(response.reason());
      keep(decode(response.body()));
      answered(begin);
      if (waiting_.empty()) break;
      begin = waiting_.front();
      waiting_.pop_front();
    }
    idle_.push_back(&connection);
  }

  void run() override {
    context_.restart();
    try {
      context_.run();
    } catch (const std::exception& error) {
      giveUp(error.what());
    }
  }
  void stop() override {}  // the context stops when there is nothing left to do

  asio::io_context context_{1};
  const std::string host_;
  asio::ip::tcp::resolver::results_type endpoints_;
  std::deque<Connection> connections_;
  std::vector<Connection*> idle_;
  std::deque<Time> waiting_;
};

}  // namespace

std::unique_ptr<Client> makeBeastClient(const Server& server) {
  return std::make_unique<BeastClient>(server);
}

}  // namespace Benchmarks
