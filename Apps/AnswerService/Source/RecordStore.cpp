#include "RecordStore.h"

namespace AnswerService {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kSchema = R"sql(
  CREATE TABLE IF NOT EXISTS queries(
    deflection_id INTEGER PRIMARY KEY AUTOINCREMENT, via_id, deflection_channel_id,
    interaction_reference, interaction_reference_type, enquiry, locale, labels, brand_id,
    answered_locale, article_ids, interaction_token);
  CREATE TABLE IF NOT EXISTS resolutions(
    id INTEGER PRIMARY KEY AUTOINCREMENT, deflection_id, article_id, resolution_channel_id);
  CREATE TABLE IF NOT EXISTS rejections(
    id INTEGER PRIMARY KEY AUTOINCREMENT, deflection_id, article_id, resolution_channel_id,
    reason_id);
  CREATE TABLE IF NOT EXISTS votes(id INTEGER PRIMARY KEY AUTOINCREMENT, article_id, value);
)sql";

/// RETURNING, since "the last id of the connection" may already be another thread's.
template <typename... Values>
std::int64_t insert(Database& database, std::string_view sql, const Values&... values) {
  Statement statement(database, sql, values...);
  statement.step();
  return statement.integer(0);
}

Query queryFrom(const Statement& row) {
  Query query;
  query.deflectionId = row.integer(0);
  query.viaId = row.integer(1);
  query.deflectionChannelId = row.integer(2);
  query.interactionReference = row.text(3);
  query.interactionReferenceType = row.integer(4);
  query.enquiry = row.text(5);
  query.locale = row.text(6);
  query.labels = Json::parse(row.text(7)).get<std::vector<std::string>>();
  if (!row.isNull(8)) query.brandId = row.integer(8);
  query.answeredLocale = row.text(9);
  query.articleIds = Json::parse(row.text(10)).get<std::vector<std::int64_t>>();
  return query;
}

Json toJson(const Query& query) {
  return {{"deflection_id", query.deflectionId},
          {"via_id", query.viaId},
          {"deflection_channel_id", query.deflectionChannelId},
          {"interaction_reference", query.interactionReference},
          {"interaction_reference_type", query.interactionReferenceType},
          {"enquiry", query.enquiry},
          {"locale", query.locale},
          {"labels", query.labels},
          {"brand_id", query.brandId ? Json(*query.brandId) : Json()},
          {"answered_locale", query.answeredLocale},
          {"article_ids", query.articleIds}};
}

Json toJson(const Resolution& resolution) {
  return {{"id", resolution.id},
          {"deflection_id", resolution.deflectionId},
          {"article_id", resolution.articleId},
          {"resolution_channel_id", resolution.resolutionChannelId}};
}

Json toJson(const Rejection& rejection) {
  return {{"id", rejection.id},
          {"deflection_id", rejection.deflectionId},
          {"article_id", rejection.articleId},
          {"resolution_channel_id", rejection.resolutionChannelId},
          {"reason_id", rejection.reasonId}};
}

Json toJson(const Vote& vote) {
  return {{"id", vote.id}, {"article_id", vote.articleId}, {"value", vote.value}};
}

template <typename Entry>
Json listOf(const std::vector<Entry>& entries) {
  Json list = Json::array();
  for (const Entry& entry : entries) list.push_back(toJson(entry));
  return list;
}

}  // namespace

RecordStore::RecordStore(Database& database) : database_(database) {
  database.execute(kSchema);
}

std::int64_t RecordStore::add(const Query& query, std::string_view interactionToken) {
  return insert(database_,
                "INSERT INTO queries(via_id, deflection_channel_id, interaction_reference,"
                " interaction_reference_type, enquiry, locale, labels, brand_id, answered_locale,"
                " article_ids, interaction_token) VALUES(?,?,?,?,?,?,?,?,?,?,?)"
                " RETURNING deflection_id",
                query.viaId, query.deflectionChannelId, query.interactionReference,
                query.interactionReferenceType, query.enquiry, query.locale,
                Json(query.labels).dump(), query.brandId, query.answeredLocale,
                Json(query.articleIds).dump(), interactionToken);
}

std::int64_t RecordStore::add(const Resolution& resolution) {
  return insert(database_,
                "INSERT INTO resolutions(deflection_id, article_id, resolution_channel_id)"
                " VALUES(?,?,?) RETURNING id",
                resolution.deflectionId, resolution.articleId, resolution.resolutionChannelId);
}

std::int64_t RecordStore::add(const Rejection& rejection) {
  return insert(database_,
                "INSERT INTO rejections(deflection_id, article_id, resolution_channel_id,"
                " reason_id) VALUES(?,?,?,?) RETURNING id",
                rejection.deflectionId, rejection.articleId, rejection.resolutionChannelId,
                rejection.reasonId);
}

std::int64_t RecordStore::add(const Vote& vote) {
  return insert(database_, "INSERT INTO votes(article_id, value) VALUES(?,?) RETURNING id",
                vote.articleId, vote.value);
}

std::optional<std::string> RecordStore::interactionToken(std::int64_t deflectionId) const {
  Statement row(database_, "SELECT interaction_token FROM queries WHERE deflection_id = ?",
                deflectionId);
  if (!row.step()) return std::nullopt;
  return row.text(0);
}

Record RecordStore::read() const {
  Record record;
  for (Statement row(database_,
                     "SELECT deflection_id, via_id, deflection_channel_id, interaction_reference,"
                     " interaction_reference_type, enquiry, locale, labels, brand_id,"
                     " answered_locale, article_ids FROM queries ORDER BY deflection_id");
       row.step();) {
    record.queries.push_back(queryFrom(row));
  }
  for (Statement row(database_,
                     "SELECT id, deflection_id, article_id, resolution_channel_id"
                     " FROM resolutions ORDER BY id");
       row.step();) {
    record.resolutions.push_back({row.integer(0), row.integer(1), row.integer(2), row.integer(3)});
  }
  for (Statement row(database_,
                     "SELECT id, deflection_id, article_id, resolution_channel_id, reason_id"
                     " FROM rejections ORDER BY id");
       row.step();) {
    record.rejections.push_back(
        {row.integer(0), row.integer(1), row.integer(2), row.integer(3), row.integer(4)});
  }
  for (Statement row(database_, "SELECT id, article_id, value FROM votes ORDER BY id");
       row.step();) {
    record.votes.push_back({row.integer(0), row.integer(1), row.integer(2)});
  }
  return record;
}

Json toJson(const Record& record) {
  return {{"queries", listOf(record.queries)},
          {"resolutions", listOf(record.resolutions)},
          {"rejections", listOf(record.rejections)},
          {"votes", listOf(record.votes)},
          {"requests", record.requests}};
}

}  // namespace AnswerService
