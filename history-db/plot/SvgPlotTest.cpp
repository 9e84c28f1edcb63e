// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "history-db/plot/SvgPlot.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <expat.h>
#include <gtest/gtest.h>

#include "history-db/testing/PlotTesting.h"

namespace {

using HistoryDb::Picture;
using HistoryDb::svgOf;
using PlotTesting::day;
using PlotTesting::now;
using PlotTesting::Record;

struct Element {
  std::string name;
  std::map<std::string, std::string> attributes;
  std::string text;
  /// The class of the group around it.
  std::string group;

  double number(const std::string& attribute) const { return std::stod(attributes.at(attribute)); }
};

/// All elements in their order; none when it is no XML.
std::vector<Element> elementsOf(const std::string& xml) {
  struct Parsed {
    std::vector<Element> all;
    std::vector<std::size_t> open;
  } parsed;
  XML_Parser parser = XML_ParserCreate("UTF-8");
  XML_SetUserData(parser, &parsed);
  XML_SetElementHandler(
      parser,
      [](void* data, const char* name, const char** attributes) {
        auto& own = *static_cast<Parsed*>(data);
        own.all.push_back({name, {}, "", ""});
        if (!own.open.empty() && own.all[own.open.back()].name == "g") {
          own.all.back().group = own.all[own.open.back()].attributes["class"];
        }
        for (; *attributes != nullptr; attributes += 2) {
          own.all.back().attributes[attributes[0]] = attributes[1];
        }
        own.open.push_back(own.all.size() - 1);
      },
      [](void* data, const char*) { static_cast<Parsed*>(data)->open.pop_back(); });
  XML_SetCharacterDataHandler(parser, [](void* data, const char* text, int size) {
    auto& own = *static_cast<Parsed*>(data);
    own.all[own.open.back()].text.append(text, static_cast<std::size_t>(size));
  });
  const bool isXml =
      XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), 1) == XML_STATUS_OK;
  EXPECT_TRUE(isXml) << XML_ErrorString(XML_GetErrorCode(parser)) << " in line "
                     << XML_GetCurrentLineNumber(parser);
  XML_ParserFree(parser);
  return isXml ? parsed.all : std::vector<Element>();
}

struct Box {
  double left;
  double top;
  double right;
  double bottom;
  std::string what;
};

bool touch(const Box& a, const Box& b) {
  return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

/// What a text takes, by the widest of common fonts.
Box boxOf(const Element& text) {
  const bool hasSize = text.attributes.count("font-size") != 0;
  const double size = hasSize ? text.number("font-size") : 11;
  const auto characters =
      static_cast<double>(std::count_if(text.text.begin(), text.text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80;
      }));
  const double width = characters * size * 0.62;
  const auto anchor = text.attributes.find("text-anchor");
  const double share = anchor == text.attributes.end() ? 0 : anchor->second == "end" ? 1 : 0.5;
  const double left = text.number("x") - share * width;
  const double y = text.number("y");
  return {left, y - 0.75 * size, left + width, y + 0.2 * size, text.text};
}

/// Everything that is drawn stands within the picture, and no text on another one.
void expectInOrder(const std::string& svg) {
  const std::vector<Element> elements = elementsOf(svg);
  ASSERT_FALSE(elements.empty());
  const double width = elements[0].number("width");
  const double height = elements[0].number("height");
  std::vector<Box> texts;
  for (const Element& element : elements) {
    std::vector<Box> boxes;
    if (element.name == "text") {
      boxes.push_back(boxOf(element));
      texts.push_back(boxes.back());
    } else if (element.name == "line") {
      const auto x = std::minmax({element.number("x1"), element.number("x2")});
      const auto y = std::minmax({element.number("y1"), element.number("y2")});
      boxes.push_back({x.first, y.first, x.second, y.second, "line"});
    } else if (element.name == "rect" && element.group != "paper") {
      const double x = element.number("x");
      const double y = element.number("y");
      boxes.push_back({x, y, x + element.number("width"), y + element.number("height"), "rect"});
    }
    for (const Box& box : boxes) {
      EXPECT_TRUE(box.left >= 0 && box.right <= width && box.left <= box.right) << box.what;
      EXPECT_TRUE(box.top >= 0 && box.bottom <= height && box.top <= box.bottom) << box.what;
    }
  }
  for (std::size_t i = 0; i < texts.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      EXPECT_FALSE(touch(texts[i], texts[j])) << texts[i].what << " and " << texts[j].what;
    }
  }
}

/// The elements of a colour, "name: attribute attribute ...".
std::string elementsIn(const std::string& colour, const std::string& svg) {
  std::string text;
  for (const Element& element : elementsOf(svg)) {
    if (element.group == colour) {
      text += element.name;
      for (const char* name : {"x", "y", "width", "height", "x1", "y1", "x2", "y2"}) {
        const auto found = element.attributes.find(name);
        text += found == element.attributes.end() ? "" : " " + found->second;
      }
      text += "\n";
    }
  }
  return text;
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// The labels "0" to "10" take 22.5 pixels, so that plots reach from 46.5 to 436 and from 486.5 to
// 876; all 50 days have 374 of the 389.5 pixels, those at the ends have a 50th each besides. Values
// from 0 to 10 stand from 258 up to 128.
TEST(SvgPlotTest, BandsStandWhereTheirTimesAndValuesAre) {
  Record record;
  record.setTimes(record.days(), 1, now, now + 25 * day)
      .set(record.days(), 1, "minA", 1)
      .set(record.days(), 1, "maxA", 10)
      .setTimes(record.days(), 0, now + 25 * day, now + 50 * day)
      .set(record.days(), 0, "minA", 0)
      .set(record.days(), 0, "maxA", 5);
  const std::string svg = svgOf(record.picture());
  // The first one is in the legend.
  EXPECT_EQ(elementsIn("band", svg),
            "rect 24 71 18 10\n"
            "rect 54 128 187.3 117\n"
            "rect 241.3 193 187.2 65\n");
  EXPECT_EQ(elementsIn("edge", svg),
            "line 24 71 42 71\nline 24 81 42 81\n"
            "line 54 128 241.3 128\nline 54 245 241.3 245\n"
            "line 241.3 193 428.5 193\nline 241.3 258 428.5 258\n");
  expectInOrder(svg);
}

TEST(SvgPlotTest, ValuesAreStepsAndGapsAreMarked) {
  Record record;
  for (int i = 0; i < 3; ++i) {
    record.setTimes(record.days(), i, now - i * 20 * day, now - (i - 1) * 20 * day)
        .set(record.days(), i, "realValue1", i == 1 ? std::nan("") : 10 - i);
  }
  const std::string svg = svgOf(record.picture({"realValue1", "intValue1"}));
  EXPECT_EQ(elementsIn("band", svg), "");
  EXPECT_TRUE(contains(svg,
                       ">realValue1, days: 1 value is left out, being no finite number or past "
                       "1e15.</text>"));
  EXPECT_TRUE(
      contains(svg, "<title>days[2], 2023-10-05 22:13:20 to 2023-10-25 22:13:20: 8</title>"));
  EXPECT_TRUE(contains(svg,
                       "<title>days[1], 2023-10-25 22:13:20 to 2023-11-14 22:13:20: left out"
                       "</title>"));
  EXPECT_TRUE(contains(svg, "<title>months[13]: unused</title>"));
  // In the legend; two of realValue1; three of intValue1, which is 0, with two joints.
  const std::string lines = elementsIn("line", svg);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 6) << lines;
  const std::string joints = elementsIn("joint", svg);
  EXPECT_EQ(std::count(joints.begin(), joints.end(), '\n'), 2) << joints;
  // In the legend; one day of realValue1; 14 months of either.
  const std::string gaps = elementsIn("gap", svg);
  EXPECT_EQ(std::count(gaps.begin(), gaps.end(), '\n'), 30) << gaps;
  expectInOrder(svg);
}

TEST(SvgPlotTest, StepsAreJoinedUnlessTheyAreApart) {
  Record record;
  record.setTimes(record.days(), 2, now - 4 * day, now - 3 * day)
      .setTimes(record.days(), 1, now - 1 * day, now)
      .setTimes(record.days(), 0, now, now);
  const std::string svg = svgOf(record.picture({"intValue1"}));
  const std::string joints = elementsIn("joint", svg);
  EXPECT_EQ(std::count(joints.begin(), joints.end(), '\n'), 1) << joints;
}

TEST(SvgPlotTest, ShortPeriodsAreSeen) {
  Record record;
  record.setTimes(record.days(), 0, now, now);
  EXPECT_EQ(elementsIn("line", svgOf(record.picture({"intValue1"}))),
            "line 24 76 42 76\nline 238.8 193 243.8 193\n");
}

TEST(SvgPlotTest, PicturesWithoutValuesSaySo) {
  const std::string svg = svgOf(Record().picture());
  EXPECT_TRUE(contains(svg, ">no values</text>"));
  EXPECT_TRUE(contains(svg, ">days: 9 of 9 are unused.</text>"));
  expectInOrder(svg);
}

TEST(SvgPlotTest, NamesCannotBreakOut) {
  Picture picture = Record().picture();
  picture.title = "</text><script>&\"'\xEF\xBF\xBF";
  const std::string svg = svgOf(picture);
  EXPECT_FALSE(contains(svg, "<script"));
  const auto elements = elementsOf(svg);
  EXPECT_EQ(elements.at(1).name, "title");
  EXPECT_EQ(elements.at(1).text, "</text><script>&\"'\xEF\xBF\xBD, subtitle");
  for (const char* part : {"W", "\xE6\xBC\xA2", "i"}) {
    picture.title.clear();
    for (int i = 0; i < 240; ++i) {
      picture.title += part;
    }
    expectInOrder(svgOf(picture));
  }
}

TEST(SvgPlotTest, NeedsNothingFromElsewhere) {
  for (const Element& element : elementsOf(svgOf(Record().picture()))) {
    EXPECT_TRUE(contains(" svg title desc style g rect line text ", " " + element.name + " "))
        << element.name;
    for (const auto& [name, value] : element.attributes) {
      EXPECT_FALSE(contains(name, "href") || name.rfind("on", 0) == 0 || contains(value, "url"))
          << name << value;
    }
  }
}

/// Of a colour "#rrggbb", as WCAG defines it.
double luminanceOf(const std::string& colour) {
  double luminance = 0;
  const double weights[] = {0.2126, 0.7152, 0.0722};
  for (std::size_t i = 0; i < 3; ++i) {
    const double part = std::stoi(colour.substr(1 + 2 * i, 2), nullptr, 16) / 255.0;
    luminance +=
        weights[i] * (part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4));
  }
  return luminance;
}

TEST(SvgPlotTest, ColoursCanBeToldFromTheirGround) {
  const std::string svg = svgOf(Record().picture());
  const std::size_t dark = svg.find("prefers-color-scheme: dark");
  for (const std::size_t begin : {svg.find("<style>"), dark}) {
    const auto colour = [&](const std::string& name) {
      return luminanceOf(svg.substr(svg.find("--" + name + ": ", begin) + name.size() + 4, 7));
    };
    const auto contrast = [&](const std::string& name) {
      const double a = colour(name);
      const double b = colour("paper");
      return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
    };
    EXPECT_GE(contrast("ink"), 7);
    EXPECT_GE(contrast("faint"), 4.5);
    for (const char* name : {"axis", "edge", "line"}) {
      EXPECT_GE(contrast(name), 3) << name;
    }
  }
}

TEST(SvgPlotTest, WhateverARecordHoldsStaysInThePicture) {
  std::mt19937 random(20240301);
  for (int i = 0; i < 60; ++i) {
    SCOPED_TRACE(i);
    expectInOrder(svgOf(PlotTesting::hostileRecord(random).picture(
        {"minA", "maxA", "realValue1", "intValue1", "shortArray[1]"})));
  }
}

TEST(SvgPlotTest, AllFieldsFitInOnePicture) {
  std::mt19937 random(1);
  Record record = PlotTesting::hostileRecord(random);
  std::vector<std::string> names;
  for (const HistoryDb::Field& field : record.layout.period) {
    names.emplace_back(field.name);
  }
  expectInOrder(svgOf(record.picture(names)));
}

}  // namespace
