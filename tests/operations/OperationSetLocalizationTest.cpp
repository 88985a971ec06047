#include "operations/PrivilegedOperationError.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "operations/StringTables.h"
#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "platform/PropertyLists.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

class OperationSetLocalization : public testing::Test {
 protected:
  using Set = QRTPrivilegedOperationSet;

  void plant(const std::string& file, const std::string& contents) {
    test::plant(bundle, "Resources/" + file, contents);
  }

  Localization localization(bool isPolite = false) {
    // Tables are cached, so each answer is given by a new reader.
    tables = std::make_unique<StringTables>(bundle.path(), "de", native.facilities().files);
    return {*tables, isPolite};
  }
  std::string text(const std::string& key, std::string_view table, bool isPolite = false) {
    return Set::localizedUIPolitenessAgnosticStringForKey(key, "value", table,
                                                          localization(isPolite));
  }
  Outcome localized(const Outcome& error) {
    return Set::localizedErrorForPrivilegedOperationError(error, localization());
  }

  const test::ScratchFolder bundle;
  const NativePlatform native;
  std::unique_ptr<StringTables> tables;
};

TEST_F(OperationSetLocalization, LooksInTheLanguageThenInTheBundleThenFallsBack) {
  plant("T.strings", "\"key\" = \"common\"; \"only here\" = \"common\";");
  EXPECT_EQ(text("key", "T"), "common");
  plant("de.lproj/T.strings", "\"key\" = \"deutsch\"; \"number\" = ( 1 );");
  EXPECT_EQ(text("key", "T"), "deutsch");
  EXPECT_EQ(text("only here", "T"), "value") << "a language's table stands alone";
  EXPECT_EQ(text("number", "T"), "value");
  EXPECT_EQ(text("key", "Absent"), "value");
  plant("Localizable.strings", "key = default;");
  EXPECT_EQ(text("key", ""), "default");
  plant("de.lproj/Broken.strings", "\"key\" = ");
  EXPECT_EQ(text("key", "Broken"), "value");
  EXPECT_EQ(Set::localizedUIPolitenessAgnosticStringForKey("absent", "", "T", localization()),
            "absent");
}

TEST_F(OperationSetLocalization, PoliteTablesTakeThePlaceOfPlainOnes) {
  plant("de.lproj/T.strings", "key = plain; other = plain;");
  EXPECT_EQ(text("key", "T", true), "plain") << "no polite table";
  plant("de.lproj/T-Polite.strings", "key = polite;");
  EXPECT_EQ(text("key", "T", true), "polite");
  EXPECT_EQ(text("other", "T", true), "value") << "not the plain table's";
  EXPECT_EQ(text("key", "T", false), "plain");
  plant("Localizable-Polite.strings", "key = \"polite default\";");
  EXPECT_EQ(text("key", "", true), "polite default");
}

TEST_F(OperationSetLocalization, TemplatesTakeTheirParametersOneAfterAnother) {
  plant("de.lproj/PrivilegedOperationErrors.strings", "\"$1$ of $2$\" = \"von $2$: $1$\";");
  const auto expand = [this](PropertyValue text, PropertyValue parameters, std::string wanted) {
    const Dictionary userInfo{{"QRTLocalizedDescriptionTemplate", text},
                              {"QRTLocalizedDescriptionParameters", parameters}};
    const auto error = localized(Error{"d", 1, userInfo});
    const auto* expanded = stringIn(error->userInfo, "NSLocalizedDescription");
    EXPECT_EQ(expanded ? *expanded : "none", wanted);
  };
  expand("$1$ of $2$", Array{"eins", "zwei"}, "von zwei: eins");
  expand("$1$ and $2$", Array{"a"}, "a and $2$");
  expand("$1$ $2$", Array{"$2$", "b"}, "b b");
  expand("$1$ $2$", Array{"$1$", "$1$"}, "$1$ $1$");
  expand("$2$1$", Array{"x", "y"}, "$2x");
  expand("$10$ $1$", Array{"a"}, "$10$ a");
  expand("A $1$ $2$", Array{1, "y"}, "A  y");
  // Incomplete or foreign.
  expand("A $1$", Array(), "none");
  expand("A $1$", "x", "none");
  expand("", Array{"x"}, "none");
  expand(5, Array{"x"}, "none");
}

TEST_F(OperationSetLocalization, Errors) {
  plant("de.lproj/PrivilegedOperationErrors.strings",
        "Failed = Gescheitert; \"See $1$\" = \"Siehe $1$\"; Deep = Tief;");
  EXPECT_EQ(localized(success), success);
  EXPECT_EQ(localized(posixError(PosixCode::busy)), posixError(PosixCode::busy));

  const auto errorOver = [](const char* deepText) {
    return withUnderlyingError(
        privilegedOperationError(3, "Failed", "See $1$", {"/x"}),
        {"d", 1, {{"NSUnderlyingError", privilegedOperationError(4, deepText, "New")}}});
  };
  auto expected = errorOver("Tief");
  expected.userInfo.insert_or_assign("NSLocalizedDescription", "Gescheitert");
  expected.userInfo.insert_or_assign("NSLocalizedRecoverySuggestion", "Siehe /x");
  EXPECT_EQ(localized(errorOver("Deep")), expected);
}

TEST_F(OperationSetLocalization, ErrorsNestedWithoutEndAreNotFollowedForever) {
  Error error = privilegedOperationError(1, "Text", "Text");
  for (int depth = 0; depth < 500; ++depth) {
    error = withUnderlyingError(privilegedOperationError(1, "Text", "Text"), std::move(error));
  }
  EXPECT_TRUE(localized(error));
}

/// The tables that are installed with the client.
TEST_F(OperationSetLocalization, GermanTablesAreComplete) {
  const auto table = [&](const std::string& name) {
    const auto text = test::contentsOf(QRT_TABLES + name + ".strings");
    return *readPropertyList(Data(text.begin(), text.end()))->dictionary();
  };
  const auto plain = table("PrivilegedOperationErrors");
  const auto polite = table("PrivilegedOperationErrors-Polite");
  EXPECT_EQ(plain.size(), 44u);
  EXPECT_EQ(polite.size(), 44u);
  for (const auto& [key, text] : plain) {
    SCOPED_TRACE(key);
    ASSERT_TRUE(polite.contains(key));
    for (const auto* translation : {text.string(), polite.at(key).string()}) {
      ASSERT_TRUE(translation);
      EXPECT_NE(*translation, key);
      for (const auto* placeholder : {"$1$", "$2$"}) {
        EXPECT_EQ(translation->find(placeholder) == std::string::npos,
                  key.find(placeholder) == std::string::npos);
      }
    }
  }
  EXPECT_TRUE(plain.contains("Failure in macOS security services detected."));
}

}  // namespace
}  // namespace qrt
