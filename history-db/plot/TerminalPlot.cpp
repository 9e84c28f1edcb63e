// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/TerminalPlot.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "history-db/plot/Scale.h"

namespace HistoryDb {

namespace {

constexpr std::size_t columns = 80;
/// From the lowest tick of a panel to the highest; more if that takes more ticks.
constexpr std::size_t height = 8;

/// What a cell of a panel shows, and its two ways to be written.
struct Glyph {
  const char* block;
  const char* ascii;
};

constexpr Glyph blank = {" ", " "};
constexpr Glyph full = {"\u2588", "|"};
constexpr Glyph upperHalf = {"\u2580", "-"};
constexpr Glyph lowerHalf = {"\u2584", "-"};
constexpr Glyph nothing = {"\u00B7", "."};
constexpr Glyph side = {"\u2502", "|"};
constexpr Glyph sideTick = {"\u2524", "+"};
constexpr Glyph corner = {"\u2514", "+"};
constexpr Glyph bottom = {"\u2500", "-"};
constexpr Glyph bottomTick = {"\u252C", "+"};

/// The whole number closest to `value` that is one of `least` to `most`.
std::size_t wholeOf(double value, std::size_t least, std::size_t most) {
  return static_cast<std::size_t>(
      std::lround(std::clamp(value, static_cast<double>(least), static_cast<double>(most))));
}

/// The beginning of a name that takes no more than the columns of a line: those of other scripts
/// may take two for each character.
std::string cut(std::string_view text, bool ascii) {
  std::string line;
  std::size_t taken = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80) {
      taken += byte < 0x80 || ascii ? 1 : 2;
      if (taken > columns - 3) {
        return line + "...";
      }
      line += byte >= 0x80 && ascii ? '?' : text[i];
    } else if (!ascii) {
      line += text[i];
    }
  }
  return line;
}

/// Puts a picture together, line by line.
class TerminalPlot {
 public:
  TerminalPlot(const Picture& picture, bool ascii) : _picture(picture), _ascii(ascii) {
    for (const PanelRow& row : picture.rows) {
      for (const Panel& panel : row.panels) {
        for (const Tick& tick : panel.axis.ticks) {
          _labels = std::max(_labels, tick.label.size());
        }
      }
    }
    // The labels, a space, the axis.
    _left = _labels + 2;
    _width = columns - _left;
  }

  std::string draw() {
    line(cut(_picture.title, _ascii));
    line(_picture.subtitle);
    legend();
    for (const PanelRow& row : _picture.rows) {
      for (std::size_t i = 0; i < row.panels.size(); ++i) {
        panel(row.panels[i], _picture.timelines[i]);
      }
    }
    if (!_picture.notes.empty()) {
      line("");
    }
    for (const std::string& note : _picture.notes) {
      wrapped(note);
    }
    return _text;
  }

 private:
  /// Line by line, the uppermost first.
  using Cells = std::vector<std::vector<Glyph>>;

  /// A line without what cannot be seen at its end.
  void line(std::string_view text) {
    text = text.substr(0, text.find_last_not_of(' ') + 1);
    _text += std::string(text) + "\n";
  }

  /// As many lines as a sentence in ASCII takes.
  void wrapped(std::string_view text) {
    while (text.size() > columns) {
      const std::size_t space = text.rfind(' ', columns - 1);
      line(text.substr(0, space));
      text.remove_prefix(space + 1);
    }
    line(text);
  }

  std::string written(const Glyph& glyph) const { return _ascii ? glyph.ascii : glyph.block; }

  void legend() {
    const Shown shown = shownIn(_picture);
    std::string text;
    if (shown.band) {
      text += written(full) + " minimum to maximum  ";
    }
    if (shown.line) {
      text += written(lowerHalf) + " value  ";
    }
    if (shown.nothing) {
      text += written(nothing) + " no value  ";
    }
    line(text + "Values have no unit.");
  }

  void panel(const Panel& panel, const Timeline& timeline) {
    line("");
    line(fmt::format("{}: {}", panel.title, axisTitleOf(timeline)));
    const Scale x(timeline.begin, timeline.end, 0, static_cast<double>(_width));
    const std::size_t steps = std::max<std::size_t>(panel.axis.ticks.size(), 2) - 1;
    const std::size_t linesPerStep = std::max<std::size_t>(height / steps, 2);
    const std::size_t lines = steps * linesPerStep + 1;
    Cells cells(lines, std::vector<Glyph>(_width, blank));
    for (std::size_t i = 0; i < timeline.spans.size(); ++i) {
      fill(cells, placeOf(timeline.spans[i], x), panel.readings[i], panel.axis);
    }
    std::vector<std::string> labels(lines);
    for (std::size_t i = 0; i < panel.axis.ticks.size(); ++i) {
      labels[lines - 1 - i * linesPerStep] = panel.axis.ticks[i].label;
    }
    for (std::size_t i = 0; i < lines; ++i) {
      std::string text = fmt::format("{:>{}} {}", labels[i], _labels,
                                     written(labels[i].empty() ? side : sideTick));
      for (const Glyph& glyph : cells[i]) {
        text += written(glyph);
      }
      line(text);
    }
    timeAxis(timeline, x);
  }

  /// The columns that a period is drawn in; the last one is left free if there are enough.
  std::pair<std::size_t, std::size_t> placeOf(const Span& span, const Scale& x) const {
    const std::size_t begin = wholeOf(x(span.begin), 0, _width - 1);
    const std::size_t end = wholeOf(x(span.end), begin + 1, _width);
    return {begin, end - begin > 2 ? end - 1 : end};
  }

  static void fill(Cells& cells, std::pair<std::size_t, std::size_t> place, const Reading& reading,
                   const ValueAxis& axis) {
    const std::size_t last = cells.size() - 1;
    const auto put = [&](std::size_t line, const Glyph& glyph) {
      std::fill(&cells[line][place.first], &cells[line][place.second - 1] + 1, glyph);
    };
    if (reading.kind != Reading::Kind::Drawn) {
      put(last, nothing);
      return;
    }
    // In half lines, from the lower half of the lowest line, where the axis begins, to that of the
    // uppermost.
    const Scale y(axis.low, axis.high, 0, static_cast<double>(2 * last));
    const std::size_t lower = wholeOf(y(reading.lower), 0, 2 * last);
    const std::size_t upper = wholeOf(y(reading.upper), 0, 2 * last);
    for (std::size_t i = lower / 2; i <= upper / 2; ++i) {
      const bool hasLower = 2 * i >= lower;
      const bool hasUpper = 2 * i + 1 <= upper;
      put(last - i, hasLower && hasUpper ? full : hasLower ? lowerHalf : upperHalf);
    }
  }

  void timeAxis(const Timeline& timeline, const Scale& x) {
    const std::vector<Tick> ticks = ticksOf(timeline, static_cast<double>(_width));
    std::vector<Glyph> axis(_width, bottom);
    for (const Tick& tick : ticks) {
      axis[wholeOf(x(tick.at) - 0.5, 0, _width - 1)] = bottomTick;
    }
    std::string text = std::string(_labels + 1, ' ') + written(corner);
    for (const Glyph& glyph : axis) {
      text += written(glyph);
    }
    line(text);
    std::string labels(columns, ' ');
    // Half a column less at either side, since they are moved to whole ones.
    const auto width = static_cast<double>(_width);
    const auto left = static_cast<double>(_left);
    for (const Tick& label : labelsThatFit(ticks, x, 1, 0.5 - left, width - 0.5)) {
      const std::size_t size = label.label.size();
      labels.replace(wholeOf(label.at + left - static_cast<double>(size) / 2, 0, columns - size),
                     size, label.label);
    }
    line(labels);
  }

  const Picture& _picture;
  const bool _ascii;
  std::string _text;
  std::size_t _labels = 1;
  std::size_t _left = 0;
  std::size_t _width = 0;
};

}  // namespace

std::string terminalPictureOf(const Picture& picture, bool ascii) {
  return TerminalPlot(picture, ascii).draw();
}

}  // namespace HistoryDb
