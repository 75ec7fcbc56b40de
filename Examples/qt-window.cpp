// A help window of Qt 6: a question, the articles that may answer it, and whether one of them
// helped.
//
//   PELLIX_ACCOUNT_URL=https://... PELLIX_TOKEN=... qt-window

#include <PellixProvidersSDK/Async.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <QApplication>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QTextDocumentFragment>
#include <QUrl>
#include <QVBoxLayout>

using namespace PellixProvidersSDK;
using PellixPlatform::DispatchQueue;

/// No control characters, nor those that are not seen and turn the others around.
static QString printable(QString text) {
  static const QRegularExpression unseen(QStringLiteral("\\p{C}"));
  return text.replace(unseen, QStringLiteral(" "));
}

class HelpWindow : public QWidget {
 public:
  HelpWindow() {
    setWindowTitle(QStringLiteral("Help"));
    resize(480, 400);
    question_.setPlaceholderText(QStringLiteral("What can we help you with?"));
    articles_.setWordWrap(true);
    articles_.setSpacing(4);
    status_.setTextFormat(Qt::PlainText);  // or it would guess

    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(&status_, 1);
    buttons->addWidget(&helped_);
    buttons->addWidget(&didNotHelp_);
    auto* const all = new QVBoxLayout(this);
    all->addWidget(&question_);
    all->addWidget(&articles_);
    all->addLayout(buttons);

    connect(&question_, &QLineEdit::returnPressed, this, &HelpWindow::ask);
    connect(&helped_, &QPushButton::clicked, this, [this] { report(true); });
    connect(&didNotHelp_, &QPushButton::clicked, this, [this] { report(false); });
    connect(&articles_, &QListWidget::itemActivated, this, &HelpWindow::open);
    setWaiting(false);
  }

 private:
  void ask() {
    setWaiting(true, QStringLiteral("Asking..."));
    provider_->getDeflectionForQuery(question_.text().toStdString(),
                                     ended<DeflectionResponse>(&HelpWindow::list));
  }

  void report(bool helped) {
    const auto deflection = answer_->deflection()->deflectionID();
    const auto article = chosen().articleId();
    const auto& token = answer_->interactionAccessToken();
    auto callback = ended<PellixDispatcherResponse>(&HelpWindow::thank);
    setWaiting(true, QStringLiteral("Reporting..."));
    if (helped) {
      provider_->resolveWithArticle(deflection, article, token, callback);
    } else {
      provider_->rejectWithArticle(deflection, article, token, RejectionReason::reason0, callback);
    }
  }

  /// Calls `then` with what the operation ended with, unless the window is gone by then.
  template <class T>
  ResultCallback<T> ended(void (HelpWindow::*then)(std::shared_ptr<const T>)) {
    return whenEnded<T>([window = QPointer(this), then](const Ending<T>& ending) {
      if (!window) return;
      if (ending && *ending) return (window->*then)(**ending);
      const auto why = ending ? ending->error().localizedDescription() : "There is no answer.";
      window->setWaiting(false, QString::fromStdString(why));
    });
  }

  void list(std::shared_ptr<const DeflectionResponse> answer) {
    articles_.clear();
    answer_ = std::move(answer);
    for (const auto& article : answer_->deflectionArticles()) {
      const auto title = QString::fromStdString(article->title());
      const auto snippet =
          QTextDocumentFragment::fromHtml(QString::fromStdString(article->snippet()));
      articles_.addItem(printable(title) + '\n' + printable(snippet.toPlainText()));
    }
    articles_.setCurrentRow(0);
    setWaiting(false, articles_.count() == 0 ? QStringLiteral("Nothing was found.") : QString());
  }

  void thank(std::shared_ptr<const PellixDispatcherResponse> /*response*/) {
    setWaiting(false, QStringLiteral("Thank you."));
  }

  /// The address is as received, and might be anything.
  void open() {
    const QUrl url(QString::fromStdString(chosen().htmlURL()), QUrl::StrictMode);
    if (url.scheme() == QStringLiteral("https")) QDesktopServices::openUrl(url);
  }

  const DeflectionArticle& chosen() const {
    return *answer_->deflectionArticles()[static_cast<std::size_t>(articles_.currentRow())];
  }

  void setWaiting(bool isWaiting, const QString& status = {}) {
    question_.setEnabled(!isWaiting);
    articles_.setEnabled(!isWaiting);
    for (auto* const button : {&helped_, &didNotHelp_}) {
      button->setEnabled(!isWaiting && articles_.count() > 0);
    }
    status_.setText(status);
  }

  const std::shared_ptr<PellixProvider> provider_ = Pellix::instance()->provider();
  std::shared_ptr<const DeflectionResponse> answer_;
  QLineEdit question_;
  QLabel status_;
  QPushButton helped_{QStringLiteral("It helped")};
  QPushButton didNotHelp_{QStringLiteral("It did not")};
  QListWidget articles_;
};

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const QByteArray url = qgetenv("PELLIX_ACCOUNT_URL");
  const QByteArray token = qgetenv("PELLIX_TOKEN");
  if (url.isEmpty() || token.isEmpty()) {
    qCritical("Set PELLIX_ACCOUNT_URL and PELLIX_TOKEN.");
    return 2;
  }

  QuorvelCoreSDK::Configuration configuration;
  configuration.token = [token] { return token.toStdString(); };
  const auto quorvel =
      QuorvelCoreSDK::Quorvel::initialize({url.toStdString(), "help", "qt"}, configuration);
  if (!quorvel) {
    qCritical("%s", quorvel.error().description().c_str());
    return 1;
  }
  Pellix::initialize(*quorvel, VeltraneProvidersSDK::Veltrane::initialize(*quorvel));

  // Queued: the hook is called on any thread, and the library's tasks run on this one.
  DispatchQueue::main().setWakeHook([&application] {
    const auto run = [] { DispatchQueue::main().runPending(); };
    QMetaObject::invokeMethod(&application, run, Qt::QueuedConnection);
  });
  HelpWindow window;
  window.show();
  (*quorvel)->prepare();  // while the person types
  const int status = QApplication::exec();
  DispatchQueue::main().setWakeHook(nullptr);
  (*quorvel)->waitUntilIdle(std::chrono::seconds(5));  // votes travel beside the reports
  return status;
}
