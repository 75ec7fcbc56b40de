#include "Decode/Rivals.h"
#include "EndToEnd/AsynchronousClient.h"
#include "EndToEnd/Query.h"
#include "Support/Rounds.h"

#include <libsoup/soup.h>

#include <json-glib/json-glib.h>

namespace Benchmarks {
namespace {

void setString(JsonBuilder* builder, const char* name, const char* value) {
  json_builder_set_member_name(builder, name);
  json_builder_add_string_value(builder, value);
}

void setInteger(JsonBuilder* builder, const char* name, gint64 value) {
  json_builder_set_member_name(builder, name);
  json_builder_add_int_value(builder, value);
}

GBytes* makeBody() {
  g_autoptr(JsonBuilder) builder = json_builder_new();
  json_builder_begin_object(builder);
  setInteger(builder, "via_id", Query::viaId);
  setInteger(builder, "deflection_channel_id", Query::channelId);
  setString(builder, "interaction_reference", Query::reference);
  setInteger(builder, "interaction_reference_type", Query::referenceType);
  setString(builder, "enquiry", Query::enquiry);
  setString(builder, "locale", Query::locale);
  json_builder_set_member_name(builder, "labels");
  json_builder_begin_array(builder);
  json_builder_end_array(builder);
  json_builder_end_object(builder);

  g_autoptr(JsonGenerator) generator = json_generator_new();
  g_autoptr(JsonNode) root = json_builder_get_root(builder);
  json_generator_set_root(generator, root);
  gsize length = 0;
  char* const text = json_generator_to_data(generator, &length);
  return g_bytes_new_take(text, length);
}

bool assign(JsonNode* node, gint64& to) {
  if (json_node_get_value_type(node) != G_TYPE_INT64) return false;
  to = json_node_get_int(node);
  return true;
}

bool assign(JsonNode* node, double& to) {
  if (json_node_get_value_type(node) != G_TYPE_DOUBLE) return false;
  to = json_node_get_double(node);
  return true;
}

bool assign(JsonNode* node, std::string& to) {
  const char* const text = json_node_get_string(node);
  if (!text) return false;
  to = text;
  return true;
}

bool assign(JsonNode* node, std::vector<std::string>& to) {
  if (!JSON_NODE_HOLDS_ARRAY(node)) return false;
  JsonArray* const array = json_node_get_array(node);
  const guint length = json_array_get_length(array);
  to.resize(length);
  for (guint i = 0; i < length; ++i) {
    if (!assign(json_array_get_element(array, i), to[i])) return false;
  }
  return true;
}

bool assign(JsonNode* node, std::vector<PlainArticle>& to);

template <class T>
bool read(JsonObject* from, const char* key, T& to) {
  JsonNode* const node = json_object_get_member(from, key);
  return node && assign(node, to);
}

bool assign(JsonNode* node, std::vector<PlainArticle>& to) {
  if (!JSON_NODE_HOLDS_ARRAY(node)) return false;
  JsonArray* const array = json_node_get_array(node);
  const guint length = json_array_get_length(array);
  to.resize(length);
  for (guint i = 0; i < length; ++i) {
    JsonNode* const element = json_array_get_element(array, i);
    if (!JSON_NODE_HOLDS_OBJECT(element)) return false;
    JsonObject* const article = json_node_get_object(element);
    const auto readField = [&](const char* key, auto& field) { return read(article, key, field); };
    if (!readArticle(to[i], readField)) return false;
  }
  return true;
}

std::optional<PlainReply> decode(GBytes* bytes) {
  gsize length = 0;
  const auto* const text = static_cast<const char*>(g_bytes_get_data(bytes, &length));
  g_autoptr(JsonParser) parser = json_parser_new_immutable();
  if (!json_parser_load_from_data(parser, text, static_cast<gssize>(length), nullptr)) {
    return std::nullopt;
  }
  JsonNode* const root = json_parser_get_root(parser);
  if (!JSON_NODE_HOLDS_OBJECT(root)) return std::nullopt;
  JsonObject* const object = json_node_get_object(root);
  JsonNode* const node = json_object_get_member(object, "deflection");
  if (!node || !JSON_NODE_HOLDS_OBJECT(node)) return std::nullopt;
  JsonObject* const deflection = json_node_get_object(node);
  PlainReply reply;
  if (!read(deflection, "id", reply.deflectionId) ||
      !read(deflection, "auth_token", reply.authToken) ||
      !read(object, "deflection_articles", reply.articles) ||
      !read(object, "interaction_access_token", reply.token)) {
    return std::nullopt;
  }
  return reply;
}

class SoupClient final : public AsynchronousClient {
 public:
  explicit SoupClient(const Server& server)
      : uri_(g_uri_parse((server.address + Query::path).c_str(),
                         static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr)) {
    soup_session_set_proxy_resolver(session_, nullptr);
    g_autoptr(GTlsDatabase) authorities =
        g_tls_file_database_new(server.certificate.c_str(), nullptr);
    soup_session_set_tls_database(session_, authorities);
  }
  SoupClient(const SoupClient&) = delete;
  SoupClient& operator=(const SoupClient&) = delete;
  ~SoupClient() override {
    g_object_unref(session_);
    g_main_loop_unref(loop_);
    g_uri_unref(uri_);
  }

 private:
  struct Asked {
    SoupClient* client;
    Time begin;
  };

  void askOne(Time begin) override {
    g_autoptr(SoupMessage) message = soup_message_new_from_uri(SOUP_METHOD_POST, uri_);
    // Else every post would have a new connection. It may then go out anew if its connection
    // breaks.
    soup_message_add_flags(message, SOUP_MESSAGE_IDEMPOTENT);
    SoupMessageHeaders* const headers = soup_message_get_request_headers(message);
    for (const auto& [name, value] : Query::headers) {
      soup_message_headers_append(headers, name, value);
    }
    g_autoptr(GBytes) body = makeBody();
    soup_message_set_request_body_from_bytes(message, Query::contentType, body);
    soup_session_send_and_read_async(session_, message, G_PRIORITY_DEFAULT, nullptr, receive,
                                     new Asked{this, begin});
  }

  static void receive(GObject*, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Asked> asked(static_cast<Asked*>(data));
    SoupSession* const session = asked->client->session_;
    g_autoptr(GError) error = nullptr;
    g_autoptr(GBytes) body = soup_session_send_and_read_finish(session, result, &error);
    if (!body) giveUp(error->message);
    const auto status =
        soup_message_get_status(soup_session_get_async_result_message(session, result));
    if (status != SOUP_STATUS_OK) giveUp(std::to_string(status));
    keep(decode(body).value());
    asked->client->answered(asked->begin);
  }

  void run() override { g_main_loop_run(loop_); }
  void stop() override { g_main_loop_quit(loop_); }

  GUri* const uri_;
  GMainLoop* const loop_ = g_main_loop_new(nullptr, FALSE);
  SoupSession* const session_ = soup_session_new_with_options(
      "max-conns", static_cast<int>(mostConnections), "max-conns-per-host",
      static_cast<int>(mostConnections), "timeout", 30U, nullptr);
};

}  // namespace

std::unique_ptr<Client> makeSoupClient(const Server& server) {
  return std::make_unique<SoupClient>(server);
}

}  // namespace Benchmarks
