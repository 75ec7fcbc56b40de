#include "RecordStore.h"

namespace AnswerService {

static void from_json(const Json& entry, Query& query) {
  entry.at("enquiry").get_to(query.enquiry);
  entry.at("locale").get_to(query.locale);
  entry.at("article_ids").get_to(query.articleIds);
}

static void from_json(const Json& entry, Report& report) {
  entry.at("article_id").get_to(report.articleId);
  report.reasonId = entry.value("reason_id", 0);
}

RecordStore::RecordStore(const Database& database) : database_(database) {
  database_.run(
      "CREATE TABLE IF NOT EXISTS record(id INTEGER PRIMARY KEY AUTOINCREMENT, list, entry, token);"
      "CREATE TABLE IF NOT EXISTS requests(endpoint PRIMARY KEY, count)");
}

std::int64_t RecordStore::add(std::string_view list, const Json& entry, std::string_view token) {
  // RETURNING, since "the last id of the connection" may already be another thread's.
  return database_.run("INSERT INTO record(list, entry, token) VALUES(?,?,?) RETURNING id",
                       {list, entry.dump(), token})[0][0];
}

std::string RecordStore::tokenOf(std::int64_t queryId) const {
  constexpr auto query = "SELECT token FROM record WHERE id = ? AND list = 'queries'";
  const Json rows = database_.run(query, {queryId});
  return rows.empty() ? std::string() : rows[0][0].get<std::string>();
}

void RecordStore::count(std::string_view endpoint, int requests) {
  database_.run(
      "INSERT INTO requests VALUES(?,?) ON CONFLICT DO UPDATE SET count = count + excluded.count",
      {endpoint, requests});
}

Json RecordStore::read() const {
  Json record = Json::parse(R"({"queries":[],"resolutions":[],"rejections":[],"votes":[]})");
  for (const Json& row :
       database_.run("SELECT list, json_insert(entry, '$.id', id) FROM record ORDER BY id")) {
    record[row[0].get<std::string>()].push_back(Json::parse(row[1].get<std::string>()));
  }
  for (const Json& row : database_.run("SELECT endpoint, count FROM requests")) {
    record["requests"][row[0].get<std::string>()] = row[1];
  }
  return record;
}

Record recordFrom(const Json& record) {
  return {record.at("queries"), record.at("resolutions"), record.at("rejections"),
          record.at("votes"), record.at("requests")};
}

}  // namespace AnswerService
