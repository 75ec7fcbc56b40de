// The same for a window of Qt.

#include <QtTest>
#include <QtWidgets>

namespace {

void drive() {
  QWidget* const window = QApplication::topLevelWidgets().at(0);
  auto* const question = window->findChild<QLineEdit*>();
  auto* const articles = window->findChild<QListWidget*>();
  auto* const status = window->findChild<QLabel*>();
  const auto buttons = window->findChildren<QPushButton*>();
  const auto end = [&] {
    while (!question->isEnabled()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    std::puts(qPrintable(status->text()));
  };

  QTest::keyClicks(question, QApplication::arguments().constLast());
  QTest::keyClick(question, Qt::Key_Return);
  end();
  for (int row = 0; row < articles->count(); ++row)
    std::puts(qPrintable(articles->item(row)->text()));
  if (const auto file = qEnvironmentVariable("PELLIX_PICTURE"); !file.isEmpty()) {
    window->grab().save(file);
  }
  for (int number = 0; number < std::min(2, articles->count()); ++number) {
    articles->setCurrentRow(number);
    QTest::mouseClick(buttons.at(number), Qt::LeftButton);
    end();
  }
  window->close();
}

void start() {
  QTimer::singleShot(0, drive);
}

}  // namespace

Q_COREAPP_STARTUP_FUNCTION(start)
