#include "Decode/Rivals.h"
#include "EndToEnd/AsynchronousClient.h"
#include "EndToEnd/Query.h"
#include "Support/Rounds.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslConfiguration>

namespace Benchmarks {
namespace {

/// What a program made with Qt would keep.
struct Article {
  qint64 id = 0;
  QString title, htmlURL, url;
  QStringList labelNames;
  QString body;
  qint64 articleId = 0;
  QString locale;
  qint64 brandId = 0;
  double score = 0;
  QString snippet;
};

struct Answer {
  qint64 deflectionId = 0;
  QString authToken;
  QList<Article> articles;
  QString token;
};

QByteArray makeBody() {
  const QJsonObject body{{"via_id", Query::viaId},
                         {"deflection_channel_id", Query::channelId},
                         {"interaction_reference", Query::reference},
                         {"interaction_reference_type", Query::referenceType},
                         {"enquiry", Query::enquiry},
                         {"locale", Query::locale},
                         {"labels", QJsonArray()}};
  return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

bool assign(const QJsonValue& value, qint64& to) {
  to = value.toInteger();
  return value.isDouble();
}

bool assign(const QJsonValue& value, double& to) {
  to = value.toDouble();
  return value.isDouble();
}

bool assign(const QJsonValue& value, QString& to) {
  to = value.toString();
  return value.isString();
}

template <class Element>
bool assign(const QJsonValue& value, QList<Element>& to);

bool assign(const QJsonValue& value, Article& to) {
  const auto object = value.toObject();
  return readArticle(to, [&](const char* key, auto& field) {
    return assign(object.value(QLatin1String(key)), field);
  });
}

template <class Element>
bool assign(const QJsonValue& value, QList<Element>& to) {
  const auto array = value.toArray();
  to.reserve(array.size());
  for (const auto& element : array) {
    if (!assign(element, to.emplace_back())) return false;
  }
  return value.isArray();
}

std::optional<Answer> decode(const QByteArray& json) {
  const auto root = QJsonDocument::fromJson(json).object();
  const auto deflection = root.value(QLatin1String("deflection")).toObject();
  Answer answer;
  if (!assign(deflection.value(QLatin1String("id")), answer.deflectionId) ||
      !assign(deflection.value(QLatin1String("auth_token")), answer.authToken) ||
      !assign(root.value(QLatin1String("deflection_articles")), answer.articles) ||
      !assign(root.value(QLatin1String("interaction_access_token")), answer.token)) {
    return std::nullopt;
  }
  return answer;
}

/// Qt wants one before all else.
struct Application {
  int count = 1;
  char name[10] = "benchmark";
  char* arguments[2] = {name, nullptr};
  QCoreApplication application{count, arguments};
};

class QtClient final : public AsynchronousClient {
 public:
  explicit QtClient(const Server& server)
      : request_(QUrl(QString::fromStdString(server.address + Query::path))) {
    for (const auto& [name, value] : Query::headers) request_.setRawHeader(name, value);
    request_.setHeader(QNetworkRequest::ContentTypeHeader, Query::contentType);
    request_.setTransferTimeout(30'000);
    auto tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(QSslCertificate::fromPath(QString::fromStdString(server.certificate)));
    request_.setSslConfiguration(tls);
  }

 private:
  void askOne(Time begin) override {
    auto* const reply = manager_.post(request_, makeBody());
    QObject::connect(reply, &QNetworkReply::finished, reply, [this, reply, begin] {
      if (reply->error() != QNetworkReply::NoError) {
        giveUp(reply->errorString().toStdString());
      }
      keep(decode(reply->readAll()).value());
      reply->deleteLater();
      answered(begin);
    });
  }
  void run() override { QCoreApplication::exec(); }
  void stop() override { QCoreApplication::quit(); }

  Application application_;
  QNetworkAccessManager manager_;
  QNetworkRequest request_;
};

}  // namespace

std::unique_ptr<Client> makeQtClient(const Server& server) {
  return std::make_unique<QtClient>(server);
}

}  // namespace Benchmarks
