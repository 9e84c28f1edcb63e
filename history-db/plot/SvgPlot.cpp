// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/SvgPlot.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "history-db/plot/Scale.h"

namespace HistoryDb {

namespace {

// In pixels.
constexpr double width = 900;
constexpr double margin = 24;
constexpr double columnGap = 28;
constexpr double plotHeight = 130;
/// Room above a plot, for its title, and below, for the labels of its axis.
constexpr double above = 24;
constexpr double below = 42;
constexpr double lineHeight = 17;
/// A bar, or the line of a value, is no narrower.
constexpr double leastWidth = 5;
/// What is so close to the next is joined with it.
constexpr double joinedGap = 10;

constexpr double fontSize = 11;
/// Of digits and dashes; no common font has wider ones.
constexpr double digitWidth = 0.66 * fontSize;

/// A colour by name: a variable of the style sheet, and the light one for viewers without those.
/// They can be told from each other by the colour-blind, too.
struct Colour {
  const char* name;
  const char* property;
  const char* light;
  const char* dark;
  /// Attributes besides.
  const char* more;
};

constexpr Colour colours[] = {{"paper", "fill", "#ffffff", "#15181d", ""},
                              {"ink", "fill", "#1f2328", "#e6e8eb", ""},
                              {"faint", "fill", "#57606a", "#a3acb6", ""},
                              {"gap", "fill", "#6e7781", "#8b949e", " fill-opacity=\"0.13\""},
                              {"grid", "stroke", "#d8dee4", "#30363d", ""},
                              {"axis", "stroke", "#6e7781", "#8b949e", ""},
                              {"band", "fill", "#0072b2", "#56b4e9", " fill-opacity=\"0.3\""},
                              {"edge", "stroke", "#0072b2", "#56b4e9", " stroke-width=\"2\""},
                              {"line", "stroke", "#b34700", "#f0a35e", " stroke-width=\"2\""},
                              // Unseen: what a viewer tells of when it is pointed at.
                              {"period", "fill", "none", "none", " pointer-events=\"all\""},
                              {"joint", "stroke", "#b34700", "#f0a35e", " stroke-opacity=\"0.6\""}};

/// With one decimal at most.
std::string number(double value) {
  const double tenths = std::round(value * 10);
  // Never "-0".
  std::string text = fmt::format("{:.1f}", tenths == 0 ? 0.0 : tenths / 10);
  if (text.back() == '0') {
    text.erase(text.size() - 2);
  }
  return text;
}

/// A text in UTF-8 as it stands between tags.
std::string escaped(std::string_view text) {
  std::string xml;
  for (const char character : text) {
    switch (character) {
      case '&':
        xml += "&amp;";
        break;
      case '<':
        xml += "&lt;";
        break;
      case '>':
        xml += "&gt;";
        break;
      default:
        xml += character;
    }
  }
  // Two characters that XML does not know.
  for (const char* const unknown : {"\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
    for (std::size_t at = 0; (at = xml.find(unknown, at)) != std::string::npos;) {
      xml.replace(at, 3, "\xEF\xBF\xBD");
    }
  }
  return xml;
}

/// The beginning of a text that takes no more than `room`, with an ellipsis if it is not all.
std::string cutTo(std::string_view text, double size, double room) {
  double taken = 0;
  std::size_t end = text.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) == 0x80) {
      continue;
    }
    const bool isWide = byte >= 0x80 || (byte >= 'A' && byte <= 'Z') || byte == 'm' ||
                        byte == 'w' || byte == '%' || byte == '@';
    if (taken + size <= room) {
      // As far as an ellipsis still fits behind it.
      end = i;
    }
    taken += (isWide ? 1.2 : 0.85) * size;
  }
  return taken <= room ? std::string(text) : std::string(text.substr(0, end)) + "\u2026";
}

/// Puts a picture together. What it draws keeps within the picture, so nothing is clipped.
class SvgPlot {
 public:
  explicit SvgPlot(const Picture& picture) : _picture(picture) {
    for (const PanelRow& row : picture.rows) {
      for (const Panel& panel : row.panels) {
        for (const Tick& tick : panel.axis.ticks) {
          _labels = std::max(_labels, static_cast<double>(tick.label.size()) * digitWidth + 8);
        }
      }
    }
  }

  std::string draw() {
    // All else first: it tells how high the picture is.
    heading();
    for (const PanelRow& row : _picture.rows) {
      for (std::size_t i = 0; i < row.panels.size(); ++i) {
        panel(row.panels[i], _picture.timelines[i], row.quantity.isBand(), static_cast<double>(i));
      }
      _top += above + plotHeight + below;
    }
    notes();
    use("");
    const std::string body = std::exchange(_svg, "");
    beginning();
    return _svg + body + "</g>\n</svg>\n";
  }

 private:
  /// A period in a plot.
  struct Placed {
    const Span* span;
    const Reading* reading;
    double left;
    double right;

    bool isDrawn() const { return reading->kind == Reading::Kind::Drawn; }
  };

  template <class... Values>
  void add(fmt::format_string<Values...> format, Values&&... values) {
    fmt::format_to(std::back_inserter(_svg), format, std::forward<Values>(values)...);
  }

  void beginning() {
    const std::string height = number(_top + margin);
    add("<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"history\" role=\"img\" "
        "viewBox=\"0 0 {0} {1}\" width=\"{0}\" height=\"{1}\">\n",
        number(width), height);
    add("<title>{}</title>\n<desc>{}</desc>\n", escaped(_picture.title + ", " + _picture.subtitle),
        escaped(description()));
    add("<style>\n.history {{");
    for (const Colour& colour : colours) {
      add(" --{}: {};", colour.name, colour.light);
    }
    add(" }}\n@media (prefers-color-scheme: dark) {{ .history {{");
    for (const Colour& colour : colours) {
      add(" --{}: {};", colour.name, colour.dark);
    }
    add(" }} }}\n");
    for (const Colour& colour : colours) {
      add(".history .{0} {{ {1}: var(--{0}); }}\n", colour.name, colour.property);
    }
    add("</style>\n");
    use("paper");
    add("<rect width=\"{}\" height=\"{}\"/>\n", number(width), height);
    use("");
    add("<g font-family=\"sans-serif\" font-size=\"{}\">\n", number(fontSize));
  }

  std::string description() const {
    std::string names;
    for (const PanelRow& row : _picture.rows) {
      names += (names.empty() ? "" : ", ") + row.quantity.name;
    }
    std::string rings;
    for (const Timeline& timeline : _picture.timelines) {
      rings += std::string(rings.empty() ? "" : " and ") + timeline.ring->name;
    }
    return fmt::format("The {} of {}. Values have no unit.", rings, names);
  }

  /// What follows has that colour; without a name it has none.
  void use(std::string_view name) {
    if (name == _colour) {
      return;
    }
    _svg += _colour.empty() ? "" : "</g>\n";
    _colour = name;
    for (const Colour& colour : colours) {
      if (colour.name == name) {
        add("<g class=\"{}\" {}=\"{}\"{}>\n", name, colour.property, colour.light, colour.more);
      }
    }
  }

  void text(double x, double y, const char* colour, std::string_view text, const char* more = "") {
    use(colour);
    add("<text x=\"{}\" y=\"{}\"{}>{}</text>\n", number(x), number(y), more, escaped(text));
  }

  void rectangle(double left, double right, double top, double bottom, const char* colour,
                 std::string_view content = "") {
    use(colour);
    add("<rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\"", number(left), number(top),
        number(right - left), number(bottom - top));
    _svg += content.empty() ? "/>\n" : fmt::format(">{}</rect>\n", content);
  }

  void line(double x1, double y1, double x2, double y2, const char* colour) {
    use(colour);
    add("<line x1=\"{}\" y1=\"{}\" x2=\"{}\" y2=\"{}\"/>\n", number(x1), number(y1), number(x2),
        number(y2));
  }

  void heading() {
    constexpr double size = 17;
    text(margin, 36, "ink", cutTo(_picture.title, size, width - 2 * margin),
         " font-size=\"17\" font-weight=\"bold\"");
    text(margin, 57, "faint", _picture.subtitle, " font-size=\"12\"");
    constexpr double y = 80;
    constexpr double swatch = 18;
    double x = margin;
    const auto label = [&](std::string_view name) {
      text(x + swatch + 7, y, "faint", name);
      x += swatch + 7 + static_cast<double>(name.size()) * digitWidth + 12;
    };
    const Shown shown = shownIn(_picture);
    if (shown.band) {
      rectangle(x, x + swatch, y - 9, y + 1, "band");
      edges(x, x + swatch, y - 9, y + 1);
      label("minimum to maximum");
    }
    if (shown.line) {
      line(x, y - 4, x + swatch, y - 4, "line");
      label("value");
    }
    if (shown.nothing) {
      rectangle(x, x + swatch, y - 10, y + 2, "gap");
      label("no value");
    }
    text(width - margin, y, "faint", "Values have no unit.", " text-anchor=\"end\"");
    _top = 104;
  }

  void panel(const Panel& panel, const Timeline& timeline, bool isBand, double column) {
    const double columnWidth = (width - 2 * margin - columnGap) / 2;
    const double columnLeft = margin + column * (columnWidth + columnGap);
    const double left = columnLeft + _labels;
    const double right = columnLeft + columnWidth;
    const double top = _top + above;
    const double bottom = top + plotHeight;
    text(columnLeft, _top + 12, "ink", panel.title, " font-weight=\"bold\"");
    text(right, _top + 12, "faint", axisTitleOf(timeline), " text-anchor=\"end\"");

    const Scale x(timeline.begin, timeline.end, left, right);
    std::vector<Placed> periods;
    bool isEmpty = true;
    for (std::size_t i = 0; i < timeline.spans.size(); ++i) {
      periods.push_back(placed(timeline.spans[i], panel.readings[i], x));
      isEmpty = isEmpty && !periods.back().isDrawn();
    }
    for (const Placed& period : periods) {
      if (!period.isDrawn()) {
        rectangle(period.left, period.right, top, bottom, "gap");
      }
    }
    valueAxis(panel.axis, left, right, top, bottom);
    timeAxis(ticksOf(timeline, (right - left) / digitWidth), x, bottom, columnLeft,
             right + columnGap / 2 - 1);
    if (isEmpty) {
      text((left + right) / 2, (top + bottom) / 2 + 4, "faint", "no values",
           " text-anchor=\"middle\"");
    } else {
      const Scale y(panel.axis.low, panel.axis.high, bottom, top);
      isBand ? bars(periods, y) : steps(periods, y);
    }
    for (const Placed& period : periods) {
      rectangle(period.left, period.right, top, bottom, "period",
                "<title>" + inWords(timeline, period) + "</title>");
    }
  }

  static Placed placed(const Span& span, const Reading& reading, const Scale& x) {
    const double left = x(span.begin);
    const double right = x(span.end);
    const double lacking = std::max(0.0, leastWidth - (right - left)) / 2;
    return {&span, &reading, left - lacking, right + lacking};
  }

  void valueAxis(const ValueAxis& axis, double left, double right, double top, double bottom) {
    // Without ticks it has no range.
    const Scale y(axis.low, axis.ticks.empty() ? 1 : axis.high, bottom, top);
    for (const Tick& tick : axis.ticks) {
      line(left, y(tick.at), right, y(tick.at), "grid");
    }
    for (const Tick& tick : axis.ticks) {
      text(left - 7, y(tick.at) + 4, "faint", tick.label, " text-anchor=\"end\"");
    }
    line(left, top, left, bottom, "axis");
    line(left, bottom, right, bottom, "axis");
  }

  /// With its labels between `from` and `to`.
  void timeAxis(const std::vector<Tick>& ticks, const Scale& x, double y, double from, double to) {
    for (const Tick& tick : ticks) {
      line(x(tick.at), y, x(tick.at), y + 5, "axis");
    }
    for (const Tick& label : labelsThatFit(ticks, x, digitWidth, from, to)) {
      text(label.at, y + 18, "faint", label.label, " text-anchor=\"middle\"");
    }
  }

  void bars(const std::vector<Placed>& periods, const Scale& y) {
    for (const Placed& period : periods) {
      if (period.isDrawn()) {
        rectangle(period.left, period.right, y(period.reading->upper), y(period.reading->lower),
                  "band");
      }
    }
    for (const Placed& period : periods) {
      if (period.isDrawn()) {
        edges(period.left, period.right, y(period.reading->upper), y(period.reading->lower));
      }
    }
  }

  /// The extremes of a band.
  void edges(double left, double right, double top, double bottom) {
    line(left, top, right, top, "edge");
    if (number(top) != number(bottom)) {
      line(left, bottom, right, bottom, "edge");
    }
  }

  void steps(const std::vector<Placed>& periods, const Scale& y) {
    for (std::size_t i = 1; i < periods.size(); ++i) {
      const Placed& before = periods[i - 1];
      const Placed& period = periods[i];
      if (before.isDrawn() && period.isDrawn() && period.left - before.right < joinedGap) {
        line(before.right, y(before.reading->lower), period.left, y(period.reading->lower),
             "joint");
      }
    }
    for (const Placed& period : periods) {
      if (period.isDrawn()) {
        line(period.left, y(period.reading->lower), period.right, y(period.reading->lower), "line");
      }
    }
  }

  static std::string inWords(const Timeline& timeline, const Placed& period) {
    std::string words = fmt::format("{}[{}]", timeline.ring->name, period.span->index);
    if (timeline.isTime) {
      words += fmt::format(", {} to {}", utcText(static_cast<std::int64_t>(period.span->begin)),
                           utcText(static_cast<std::int64_t>(period.span->end)));
    }
    const Reading& reading = *period.reading;
    switch (reading.kind) {
      case Reading::Kind::None:
        return words + (period.span->isUsed ? ": no value" : ": unused");
      case Reading::Kind::LeftOut:
        return words + ": left out";
      default:
        return words + (reading.lower == reading.upper
                            ? fmt::format(": {}", reading.lower)
                            : fmt::format(": {} to {}", reading.lower, reading.upper));
    }
  }

  void notes() {
    for (const std::string& note : _picture.notes) {
      text(margin, _top, "faint", note);
      _top += lineHeight;
    }
    _top -= _picture.notes.empty() ? margin : lineHeight;
  }

  const Picture& _picture;
  std::string _svg;
  /// Of the group that is open; empty when none is.
  std::string_view _colour;
  /// Where the next part begins.
  double _top = 0;
  /// Room for the labels of the values.
  double _labels = 20;
};

}  // namespace

std::string svgOf(const Picture& picture) {
  return SvgPlot(picture).draw();
}

}  // namespace HistoryDb
