// Loaded into a program with a window of GTK, does there what a person would: asks the question of
// the command line, reports that the first article helped and that the second one did not, prints
// what the window shows, and closes it. PELLIX_PICTURE names a file for a picture of it.

#include <gtk/gtk.h>

#include <cstdio>
#include <vector>

namespace {

std::vector<GtkWidget*> within(GtkWidget* parent, GType type) {
  std::vector<GtkWidget*> found;
  for (auto* child = gtk_widget_get_first_child(parent); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    if (G_TYPE_CHECK_INSTANCE_TYPE(child, type)) found.push_back(child);
    for (auto* const deeper : within(child, type)) found.push_back(deeper);
  }
  return found;
}

/// Does what the signal stands for, and prints the status once that has ended.
void emit(GtkWidget* widget, const char* signal, GtkWidget* question, GtkWidget* status) {
  g_signal_emit_by_name(widget, signal);
  while (!gtk_editable_get_editable(GTK_EDITABLE(question)))
    g_main_context_iteration(nullptr, TRUE);
  std::puts(gtk_label_get_text(GTK_LABEL(status)));
}

void draw(GtkWidget* window, const char* file) {
  gtk_test_widget_wait_for_draw(window);
  auto* const paintable = gtk_widget_paintable_new(window);
  auto* const snapshot = gtk_snapshot_new();
  gdk_paintable_snapshot(paintable, snapshot, gtk_widget_get_width(window),
                         gtk_widget_get_height(window));
  auto* const node = gtk_snapshot_free_to_node(snapshot);
  auto* const renderer = gtk_native_get_renderer(GTK_NATIVE(window));
  gdk_texture_save_to_png(gsk_renderer_render_texture(renderer, node, nullptr), file);
}

gboolean drive(gpointer text) {
  auto* const application = GTK_APPLICATION(g_application_get_default());
  auto* const window = GTK_WINDOW(gtk_application_get_windows(application)->data);
  GtkWidget* const content = gtk_window_get_child(window);
  GtkWidget* const question = within(content, GTK_TYPE_ENTRY).at(0);
  auto* const articles = GTK_LIST_BOX(within(content, GTK_TYPE_LIST_BOX).at(0));
  const auto buttons = within(content, GTK_TYPE_BUTTON);
  GtkWidget* const status = gtk_widget_get_prev_sibling(buttons.at(0));

  gtk_editable_set_text(GTK_EDITABLE(question), static_cast<const char*>(text));
  emit(question, "activate", question, status);
  for (auto* const each : within(GTK_WIDGET(articles), GTK_TYPE_LABEL)) {
    std::puts(gtk_label_get_text(GTK_LABEL(each)));
  }
  if (const char* const file = g_getenv("PELLIX_PICTURE")) draw(GTK_WIDGET(window), file);
  for (int number : {0, 1}) {
    auto* const row = gtk_list_box_get_row_at_index(articles, number);
    if (row == nullptr) break;
    gtk_list_box_select_row(articles, row);
    emit(buttons[static_cast<std::size_t>(number)], "clicked", question, status);
  }
  gtk_window_close(window);
  return G_SOURCE_REMOVE;
}

[[gnu::constructor]] void start(int argc, char** argv) {
  g_idle_add(drive, argv[argc - 1]);
}

}  // namespace
