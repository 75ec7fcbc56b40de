// A help window of GTK 4: a question, the articles that may answer it, and whether one of them
// helped.
//
//   PELLIX_ACCOUNT_URL=https://... PELLIX_TOKEN=... gtk-window

#include <PellixProvidersSDK/Async.h>
#include <PellixProvidersSDK/PellixProvidersSDK.h>
#include <QuorvelCoreSDK/QuorvelCoreSDK.h>
#include <VeltraneProvidersSDK/VeltraneProvidersSDK.h>

#include <gtk/gtk.h>

#include <memory>
#include <string>
#include <utility>

using namespace PellixProvidersSDK;
using PellixPlatform::DispatchQueue;

static std::string withBlanksFor(const char* pattern, const std::string& text) {
  g_autoptr(GRegex) regex = g_regex_new(pattern, G_REGEX_DEFAULT, G_REGEX_MATCH_DEFAULT, nullptr);
  const auto length = static_cast<gssize>(text.size());
  g_autofree char* replaced =
      g_regex_replace_literal(regex, text.c_str(), length, 0, " ", G_REGEX_MATCH_DEFAULT, nullptr);
  return replaced ? replaced : "";
}

/// No control characters, nor those that are not seen and turn the others around.
static std::string printable(const std::string& text) {
  return withBlanksFor("\\p{C}", text);
}

/// HTML without its markup, of which blanks are left. Pango knows what its references stand for, or
/// else they stay.
static std::string plainText(const std::string& html) {
  const std::string text = printable(withBlanksFor("(?:\\s|<[^>]*>?)++", html));
  g_autofree char* plain = nullptr;
  const bool known = pango_parse_markup(text.c_str(), -1, 0, nullptr, &plain, nullptr, nullptr);
  return known ? printable(plain) : text;
}

/// What an operation calls when it has ended holds this weakly: once the window is closed, and this
/// with it, that does nothing.
class HelpWindow : public std::enable_shared_from_this<HelpWindow> {
 public:
  static void open(GtkApplication* application) {
    auto* const help = new auto(std::make_shared<HelpWindow>(application));
    g_object_set_data_full((*help)->window_, "help", help, [](gpointer owned) {
      delete static_cast<std::shared_ptr<HelpWindow>*>(owned);
    });
  }

  explicit HelpWindow(GtkApplication* application)
      : window_(G_OBJECT(gtk_application_window_new(application))) {
    gtk_entry_set_placeholder_text(GTK_ENTRY(question_), "What can we help you with?");
    gtk_list_box_set_selection_mode(GTK_LIST_BOX(articles_), GTK_SELECTION_BROWSE);
    gtk_list_box_set_activate_on_single_click(GTK_LIST_BOX(articles_), FALSE);
    GtkWidget* const scrolled = gtk_scrolled_window_new();
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), articles_);
    gtk_widget_set_vexpand(scrolled, TRUE);
    gtk_widget_set_hexpand(status_, TRUE);
    gtk_label_set_xalign(GTK_LABEL(status_), 0);
    gtk_label_set_wrap(GTK_LABEL(status_), TRUE);

    GtkWidget* const last = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    for (GtkWidget* each : {status_, helped_, didNotHelp_}) gtk_box_append(GTK_BOX(last), each);
    GtkWidget* const all = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    for (GtkWidget* each : {question_, scrolled, last}) gtk_box_append(GTK_BOX(all), each);
    for (const auto setMargin : {gtk_widget_set_margin_start, gtk_widget_set_margin_end,
                                 gtk_widget_set_margin_top, gtk_widget_set_margin_bottom}) {
      setMargin(all, 12);
    }
    gtk_window_set_title(GTK_WINDOW(window_), "Help");
    gtk_window_set_default_size(GTK_WINDOW(window_), 480, 400);
    gtk_window_set_child(GTK_WINDOW(window_), all);

    using Self = HelpWindow*;
    const auto on = [this](GtkWidget* widget, const char* signal, void (*call)(Self)) {
      g_signal_connect_swapped(widget, signal, G_CALLBACK(call), this);
    };
    on(question_, "activate", [](Self self) { self->ask(); });
    on(helped_, "clicked", [](Self self) { self->report(true); });
    on(didNotHelp_, "clicked", [](Self self) { self->report(false); });
    on(articles_, "row-activated", [](Self self) { self->openPage(); });
    setWaiting(false, "");
    gtk_window_present(GTK_WINDOW(window_));
  }

 private:
  void ask() {
    if (!gtk_editable_get_editable(GTK_EDITABLE(question_))) return;  // Enter is heard all the same
    setWaiting(true, "Asking...");
    provider_->getDeflectionForQuery(gtk_editable_get_text(GTK_EDITABLE(question_)),
                                     ended<DeflectionResponse>(&HelpWindow::list));
  }

  void report(bool helped) {
    const auto deflection = answer_->deflection()->deflectionID();
    const auto article = chosen().articleId();
    const auto& token = answer_->interactionAccessToken();
    auto callback = ended<PellixDispatcherResponse>(&HelpWindow::thank);
    setWaiting(true, "Reporting...");
    if (helped) {
      provider_->resolveWithArticle(deflection, article, token, callback);
    } else {
      provider_->rejectWithArticle(deflection, article, token, RejectionReason::reason0, callback);
    }
  }

  /// Calls `then` with what the operation ended with.
  template <class T>
  ResultCallback<T> ended(void (HelpWindow::*then)(std::shared_ptr<const T>)) {
    return whenEnded<T>([weak = weak_from_this(), then](const Ending<T>& ending) {
      const auto help = weak.lock();
      if (!help) return;
      if (ending && *ending) return ((*help).*then)(**ending);
      help->setWaiting(false,
                       ending ? ending->error().localizedDescription() : "There is no answer.");
    });
  }

  void list(std::shared_ptr<const DeflectionResponse> answer) {
    answer_ = std::move(answer);
    auto* const articles = GTK_LIST_BOX(articles_);
    while (auto* const row = gtk_list_box_get_row_at_index(articles, 0)) {
      gtk_list_box_remove(articles, GTK_WIDGET(row));
    }
    for (const auto& article : answer_->deflectionArticles()) {
      // A label shows text as it is, unless it is told that it gets markup.
      const auto text = printable(article->title()) + '\n' + plainText(article->snippet());
      GtkWidget* const label = gtk_label_new(text.c_str());
      gtk_label_set_wrap(GTK_LABEL(label), TRUE);
      gtk_label_set_xalign(GTK_LABEL(label), 0);
      gtk_list_box_append(articles, label);
    }
    gtk_list_box_select_row(articles, gtk_list_box_get_row_at_index(articles, 0));
    setWaiting(false, answer_->deflectionArticles().empty() ? "Nothing was found." : "");
  }

  void thank(std::shared_ptr<const PellixDispatcherResponse> /*response*/) {
    setWaiting(false, "Thank you.");
  }

  /// The address is as received, and might be anything.
  void openPage() {
    const auto& url = chosen().htmlURL();
    if (url.starts_with("https://"))
      g_app_info_launch_default_for_uri(url.c_str(), nullptr, nullptr);
  }

  const DeflectionArticle& chosen() const {
    auto* const row = gtk_list_box_get_selected_row(GTK_LIST_BOX(articles_));
    return *answer_
                ->deflectionArticles()[static_cast<std::size_t>(gtk_list_box_row_get_index(row))];
  }

  void setWaiting(bool isWaiting, const std::string& status) {
    const bool hasArticles = answer_ && !answer_->deflectionArticles().empty();
    gtk_editable_set_editable(GTK_EDITABLE(question_), !isWaiting);  // it keeps the focus
    gtk_widget_set_sensitive(articles_, !isWaiting);
    gtk_widget_set_sensitive(helped_, !isWaiting && hasArticles);
    gtk_widget_set_sensitive(didNotHelp_, !isWaiting && hasArticles);
    gtk_label_set_text(GTK_LABEL(status_), status.c_str());
  }

  const std::shared_ptr<PellixProvider> provider_ = Pellix::instance()->provider();
  std::shared_ptr<const DeflectionResponse> answer_;
  GObject* const window_;  // it owns this, and the widgets
  GtkWidget* const question_ = gtk_entry_new();
  GtkWidget* const articles_ = gtk_list_box_new();
  GtkWidget* const status_ = gtk_label_new("");
  GtkWidget* const helped_ = gtk_button_new_with_label("It helped");
  GtkWidget* const didNotHelp_ = gtk_button_new_with_label("It did not");
};

int main() {
  const char* const url = g_getenv("PELLIX_ACCOUNT_URL");
  const char* const token = g_getenv("PELLIX_TOKEN");
  if (!url || !token) {
    g_printerr("Set PELLIX_ACCOUNT_URL and PELLIX_TOKEN.\n");
    return 2;
  }
  QuorvelCoreSDK::Configuration configuration;
  configuration.token = [token] { return token; };
  const auto quorvel = QuorvelCoreSDK::Quorvel::initialize({url, "help", "gtk"}, configuration);
  if (!quorvel) {
    g_printerr("%s\n", quorvel.error().description().c_str());
    return 1;
  }
  Pellix::initialize(*quorvel, VeltraneProvidersSDK::Veltrane::initialize(*quorvel));

  // The hook is called on any thread; the library's tasks run on the one of the default main
  // context.
  DispatchQueue::main().setWakeHook([] {
    const auto run = [](gpointer) -> gboolean {
      DispatchQueue::main().runPending();
      return G_SOURCE_REMOVE;
    };
    g_idle_add_full(G_PRIORITY_DEFAULT, run, nullptr, nullptr);
  });
  (*quorvel)->prepare();  // while the person types
  auto* const application = gtk_application_new("example.help", G_APPLICATION_NON_UNIQUE);
  g_signal_connect(application, "activate", G_CALLBACK(&HelpWindow::open), nullptr);
  const int status = g_application_run(G_APPLICATION(application), 0, nullptr);
  DispatchQueue::main().setWakeHook(nullptr);
  (*quorvel)->waitUntilIdle(std::chrono::seconds(5));  // votes travel beside the reports
  g_object_unref(application);
  return status;
}
