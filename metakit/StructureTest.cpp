// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#include "metakit/Structure.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Metakit::internName;
using Metakit::isSameName;
using Metakit::parseStructure;

/// The description that is understood from a given one; "malformed" if none is.
std::string understood(const std::string& description) {
  const auto structure = parseStructure(description);
  return structure != nullptr ? structure->description() : "malformed";
}

std::string nested(int levels) {
  std::string text = "i:I";
  for (int i = 0; i < levels; ++i) {
    text.insert(0, "v[");
    text += ']';
  }
  return text;
}

TEST(StructureTest, ReadsAndWritesDescriptions) {
  const std::vector<std::pair<std::string, std::string>> descriptions = {
      {"", ""},
      {"a", "a:S"},
      {"a:I,b:L,c:F,d:D,e:B,f:S", "a:I,b:L,c:F,d:D,e:B,f:S"},
      {"a:i,b:l,c:f,d:d,e:b,f:s", "a:I,b:L,c:F,d:D,e:B,f:S"},
      {"a:M", "a:B"},
      {"T[Key:I,Record:B]", "T[Key:I,Record:B]"},
      {"a[],b[c[d]]", "a[],b[c[d:S]]"},
      {"tree[name:S,nodes[^]]", "tree[name:S,nodes[^]]"},
      {"a:I,A:S,b:I", "a:I,b:I"},
      {"a[x:I,X:I],b[x:I]", "a[x:I],b[x:I]"}};
  for (const auto& [given, expected] : descriptions) {
    EXPECT_EQ(understood(given), expected);
  }
}

TEST(StructureTest, RefusesMalformedDescriptions) {
  for (const char* description : {"a:X", "a:", "a:II", "a[", "a]", "a[b", "a[b]]", "a:I:I",
                                  "a[b]:I", "]", "a[^", "a[^,b]", "a:V", "a:^"}) {
    EXPECT_EQ(understood(description), "malformed") << description;
  }
}

TEST(StructureTest, BoundsTheNesting) {
  EXPECT_EQ(understood(nested(Metakit::maxNesting)), nested(Metakit::maxNesting));
  EXPECT_EQ(understood(nested(Metakit::maxNesting + 1)), "malformed");
  EXPECT_EQ(understood(std::string(100000, '[')), "malformed");
}

TEST(StructureTest, ARecursiveViewHasTheStructureOfItsParent) {
  const auto structure = parseStructure("tree[name:S,nodes[^]]");
  const auto* tree = structure->fields[0].rows;
  EXPECT_EQ(tree->fields[1].rows, tree);
  const auto copy = structure->clone();
  EXPECT_EQ(copy->fields[0].rows->fields[1].rows, copy->fields[0].rows);
}

TEST(StructureTest, ComparesWithoutRegardToLetterCase) {
  const auto same = [](const char* a, const char* b) {
    return parseStructure(a)->isSameAs(*parseStructure(b));
  };
  EXPECT_TRUE(same("T[Key:I,Record:B]", "t[KEY:i,record:b]"));
  EXPECT_TRUE(same("t[n[^]]", "T[N[^]]"));
  EXPECT_FALSE(same("T[Key:I,Record:B]", "T[Record:B,Key:I]"));
  EXPECT_FALSE(same("T[Key:I]", "T[Key:L]"));
  EXPECT_FALSE(same("T[Key:I]", "T[Key:I,More:I]"));
  EXPECT_FALSE(same("T[a[b:I]]", "T[a[c:I]]"));
  EXPECT_FALSE(same("t[n[^]]", "t[n[]]"));
}

TEST(StructureTest, NamesAreOneWhateverTheirCase) {
  EXPECT_TRUE(isSameName("Key", "kEY"));
  EXPECT_FALSE(isSameName("Key", "Keys"));
  const std::string* name = internName("StructureTestName");
  EXPECT_EQ(internName("sTRUCTUREtESTnAME"), name);
  EXPECT_EQ(*internName("STRUCTURETESTNAME"), "StructureTestName") << "as it was first spelled";
  EXPECT_NE(internName("StructureTestName2"), name);
}

TEST(StructureTest, HasALimitedNumberOfProperties) {
  std::string most = "f1";
  for (int i = 2; i <= Metakit::maxFields; ++i) {
    most += ",f" + std::to_string(i);
  }
  EXPECT_NE(Metakit::parseStructure(most), nullptr);
  EXPECT_EQ(Metakit::parseStructure(most + ",v[a]"), nullptr);
}

}  // namespace
