#include "gui/style.h"

#include <gio/gio.h>

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace kelo::gui::Style {

namespace {

Scheme applied = Scheme::light;

// GNOME (and desktops following it) keep the preference in GSettings; the schema
// may be missing, so it is looked up before it is read.
std::optional<Scheme> gnomePreference() {
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    if (source == nullptr) return std::nullopt;
    GSettingsSchema* schema = g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE);
    if (schema == nullptr) return std::nullopt;
    std::optional<Scheme> scheme;
    if (g_settings_schema_has_key(schema, "color-scheme")) {
        GSettings* settings = g_settings_new_full(schema, nullptr, nullptr);
        gchar* value = g_settings_get_string(settings, "color-scheme");
        if (value != nullptr && QByteArray(value) == "prefer-dark") scheme = Scheme::dark;
        else if (value != nullptr && QByteArray(value) == "prefer-light") scheme = Scheme::light;
        g_free(value);
        g_object_unref(settings);
    }
    g_settings_schema_unref(schema);
    return scheme;
}

struct Colours {
    QColor window, base, alternate, text, mutedText, button, border, accent, accentText, highlightText;
};

Colours colours(Scheme scheme) {
    if (scheme == Scheme::dark)
        return {QColor(0x1e, 0x1f, 0x24), QColor(0x26, 0x28, 0x2f), QColor(0x2c, 0x2e, 0x36), QColor(0xe8, 0xe8, 0xec),
                QColor(0x9a, 0x9c, 0xa8), QColor(0x32, 0x34, 0x3d), QColor(0x40, 0x43, 0x4e), QColor(0x8b, 0x93, 0xff),
                QColor(0x14, 0x15, 0x1a), QColor(0x14, 0x15, 0x1a)};
    return {QColor(0xf5, 0xf5, 0xf7), QColor(0xff, 0xff, 0xff), QColor(0xf8, 0xf8, 0xfb), QColor(0x1d, 0x1d, 0x22),
            QColor(0x6b, 0x6e, 0x7a), QColor(0xff, 0xff, 0xff), QColor(0xd9, 0xda, 0xe0), QColor(0x4f, 0x46, 0xe5),
            QColor(0xff, 0xff, 0xff), QColor(0xff, 0xff, 0xff)};
}

QPalette palette(const Colours& c) {
    QPalette p;
    p.setColor(QPalette::Window, c.window);
    p.setColor(QPalette::WindowText, c.text);
    p.setColor(QPalette::Base, c.base);
    p.setColor(QPalette::AlternateBase, c.alternate);
    p.setColor(QPalette::Text, c.text);
    p.setColor(QPalette::Button, c.button);
    p.setColor(QPalette::ButtonText, c.text);
    p.setColor(QPalette::ToolTipBase, c.base);
    p.setColor(QPalette::ToolTipText, c.text);
    p.setColor(QPalette::PlaceholderText, c.mutedText);
    p.setColor(QPalette::Highlight, c.accent);
    p.setColor(QPalette::HighlightedText, c.highlightText);
    p.setColor(QPalette::Link, c.accent);
    p.setColor(QPalette::Mid, c.border);
    p.setColor(QPalette::Midlight, c.border.lighter(110));
    p.setColor(QPalette::Dark, c.border.darker(130));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, c.mutedText);
    return p;
}

// The shared sheet: rounded panels and controls, one accent, spacing on the grid.
QString sheet(const Colours& c) {
    QString css = QStringLiteral(R"(
QGroupBox { border: 1px solid @border; border-radius: 10px; margin-top: 20px; padding: 12px 8px 8px 8px;
            background: @base; }
QGroupBox::title { subcontrol-origin: margin; left: 12px; top: 2px; padding: 0 4px; font-weight: 600; color: @text; }
QPushButton { border: 1px solid @border; border-radius: 6px; padding: 5px 14px; background: @button; min-height: 20px; }
QPushButton:hover { border-color: @accent; }
QPushButton:pressed { background: @alternate; }
QPushButton:default { background: @accent; color: @accentText; border-color: @accent; font-weight: 600; }
QPushButton:disabled { color: @muted; background: @window; }
QLineEdit, QComboBox, QSpinBox { border: 1px solid @border; border-radius: 6px; padding: 4px 8px; background: @base;
                                 min-height: 20px; }
QLineEdit:focus, QComboBox:focus, QSpinBox:focus { border-color: @accent; }
QTableWidget, QTableView, QListWidget, QScrollArea { border: 1px solid @border; border-radius: 8px; background: @base;
                                                    gridline-color: @alternate; }
QTableView::item { padding: 0 6px; }
QListWidget::item { padding: 3px 4px; }
QTableView::item:selected, QListWidget::item:selected { background: @accent; color: @accentText; }
QHeaderView::section { background: @base; color: @muted; border: none; border-bottom: 1px solid @border;
                       padding: 6px 8px; font-weight: 600; }
QListWidget#sidebar { border: none; background: transparent; font-size: 10.5pt; outline: 0; }
QTableView, QListWidget { outline: 0; }
QListWidget#sidebar::item { padding: 9px 12px; margin: 2px 0; border-radius: 8px; }
QListWidget#sidebar::item:selected { background: @accent; color: @accentText; }
QListWidget#sidebar::item:hover:!selected { background: @alternate; }
QLabel#messageBar { background: @alternate; border: 1px solid @border; border-radius: 8px; padding: 8px 12px; }
QLabel#messageBar[refusal="true"] { color: #d93f35; border-color: #d93f35; font-weight: bold; }
QProgressBar { border: 1px solid @border; border-radius: 6px; background: @base; text-align: center; min-height: 14px; }
QProgressBar::chunk { background: @accent; border-radius: 5px; }
QStatusBar { background: @window; }
QCheckBox::indicator { width: 16px; height: 16px; }
)");
    const std::pair<const char*, QColor> names[] = {
        {"@border", c.border},   {"@base", c.base},     {"@text", c.text},
        {"@button", c.button},   {"@accentText", c.accentText}, {"@accent", c.accent},
        {"@alternate", c.alternate}, {"@muted", c.mutedText}, {"@window", c.window}};
    for (const auto& [name, colour] : names) css.replace(QLatin1String(name), colour.name());
    return css;
}

}  // namespace

Scheme preferred() {
    const QByteArray forced = qgetenv("KELO_COLOR_SCHEME").toLower();
    if (forced == "dark") return Scheme::dark;
    if (forced == "light") return Scheme::light;
    if (const auto gnome = gnomePreference()) return *gnome;
    if (qgetenv("GTK_THEME").toLower().endsWith("dark")) return Scheme::dark;
    return Scheme::light;
}

void apply(QApplication& app, Scheme scheme) {
    applied = scheme;
    const Colours c = colours(scheme);
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    app.setPalette(palette(c));
    app.setStyleSheet(sheet(c));
}

Scheme current() {
    return applied;
}

QColor accent() {
    return colours(applied).accent;
}

QColor stateColor(ConfidenceState state) {
    const bool dark = applied == Scheme::dark;
    switch (state) {
        case ConfidenceState::ready: return dark ? QColor(0x3d, 0xd6, 0x8c) : QColor(0x13, 0x8a, 0x4f);
        case ConfidenceState::probably: return dark ? QColor(0xf5, 0xb9, 0x42) : QColor(0xb4, 0x6a, 0x00);
        case ConfidenceState::noIdea: return dark ? QColor(0x9a, 0x9c, 0xa8) : QColor(0x6b, 0x6e, 0x7a);
    }
    return {};
}

}  // namespace kelo::gui::Style
