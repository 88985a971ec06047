#include "operations/MessageLocalization.h"

#include "operations/PrivilegedOperationError.h"
#include "operations/StringTables.h"
#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "platform/PropertyLists.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

class MessageLocalizationTest : public testing::Test {
 protected:
  void plant(const std::string& file, const std::string& contents) {
    test::plant(bundle, "Resources/" + file, contents);
  }

  MessageLocalization localization(bool isPolite = false) {
    // Tables are cached, so each answer is given by a new reader.
    tables = std::make_unique<StringTables>(bundle.path(), "de", native.facilities().files,
                                            native.facilities().propertyLists);
    return {*tables, isPolite};
  }

  std::string text(const std::string& key, const std::string& value, std::string_view table,
                   bool isPolite = false) {
    return localization(isPolite).localizedUIPolitenessAgnosticStringForKey(key, value, table);
  }

  const test::ScratchFolder bundle;
  const NativePlatform native;
  std::unique_ptr<StringTables> tables;
};

TEST_F(MessageLocalizationTest, LooksInTheLanguageThenInTheBundleThenFallsBack) {
  plant("T.strings", "\"key\" = \"common\"; \"only here\" = \"common\";");
  EXPECT_EQ(text("key", "value", "T"), "common");
  plant("de.lproj/T.strings", "\"key\" = \"deutsch\"; \"number\" = ( 1 );");
  EXPECT_EQ(text("key", "value", "T"), "deutsch");
  EXPECT_EQ(text("only here", "value", "T"), "value") << "a language's table stands alone";
  EXPECT_EQ(text("absent", "", "T"), "absent");
  EXPECT_EQ(text("number", "value", "T"), "value");
  EXPECT_EQ(text("key", "value", "Absent"), "value");
  plant("Localizable.strings", "key = default;");
  EXPECT_EQ(text("key", "value", ""), "default");
  plant("de.lproj/Broken.strings", "\"key\" = ");
  EXPECT_EQ(text("key", "value", "Broken"), "value");
}

TEST_F(MessageLocalizationTest, PoliteTablesTakeThePlaceOfPlainOnes) {
  plant("de.lproj/T.strings", "key = plain; other = plain;");
  EXPECT_EQ(text("key", "value", "T", true), "plain") << "no polite table";
  plant("de.lproj/T-Polite.strings", "key = polite;");
  EXPECT_EQ(text("key", "value", "T", true), "polite");
  EXPECT_EQ(text("other", "value", "T", true), "value") << "not the plain table's";
  EXPECT_EQ(text("key", "value", "T", false), "plain");
  plant("Localizable-Polite.strings", "key = \"polite default\";");
  EXPECT_EQ(text("key", "value", "", true), "polite default");
}

TEST_F(MessageLocalizationTest, TemplatesTakeTheirParametersOneAfterAnother) {
  struct Case {
    const char* text;
    std::vector<std::string> parameters;
    const char* expanded;
  };
  const Case cases[] = {
      {"$1$ and $2$", {"a"}, "a and $2$"},    {"$1$ $2$", {"$2$", "b"}, "b b"},
      {"$1$ $2$", {"$1$", "$1$"}, "$1$ $1$"}, {"$2$1$", {"x", "y"}, "$2x"},
      {"$10$ $1$", {"a"}, "$10$ a"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(localization().localizedStringForTemplate(c.text, c.parameters), c.expanded)
        << c.text;
  }
  plant("de.lproj/PrivilegedOperationErrors.strings", "\"$1$ of $2$\" = \"von $2$: $1$\";");
  EXPECT_EQ(localization().localizedStringForTemplate("$1$ of $2$", {"eins", "zwei"}),
            "von zwei: eins");
}

TEST_F(MessageLocalizationTest, Errors) {
  plant("de.lproj/PrivilegedOperationErrors.strings",
        "Failed = Gescheitert; \"See $1$\" = \"Siehe $1$\"; Deep = Tief;");
  const auto localize = [&](const Outcome& error) {
    return localization().localizedErrorForPrivilegedOperationError(error);
  };
  EXPECT_EQ(localize(success), success);
  EXPECT_EQ(localize(posixError(PosixCode::busy)), posixError(PosixCode::busy));

  const auto error = withUnderlyingError(
      privilegedOperationError(3, "Failed", "See $1$", {"/x"}),
      {"d", 1, {{std::string(underlyingErrorKey), privilegedOperationError(4, "Deep", "New")}}});
  auto expected = error.userInfo;
  expected.insert_or_assign("NSLocalizedDescription", "Gescheitert");
  expected.insert_or_assign("NSLocalizedRecoverySuggestion", "Siehe /x");
  expected.insert_or_assign(
      "NSUnderlyingError",
      Error{"d", 1, {{"NSUnderlyingError", privilegedOperationError(4, "Tief", "New")}}});
  EXPECT_EQ(localize(error), (Error{error.domain, 3, expected}));
}

TEST_F(MessageLocalizationTest, TextsThatAreIncompleteOrForeignAreLeftOut) {
  const auto descriptionOfTemplate = [&](PropertyValue templateText, PropertyValue parameters) {
    const auto localized = localization().localizedErrorForPrivilegedOperationError(
        Error{"d",
              1,
              {{"QRTLocalizedDescriptionTemplate", std::move(templateText)},
               {"QRTLocalizedDescriptionParameters", std::move(parameters)}}});
    const auto* text = stringIn(localized->userInfo, localizedDescriptionKey);
    return text ? *text : "none";
  };
  EXPECT_EQ(descriptionOfTemplate("A $1$", Array{"x"}), "A x");
  EXPECT_EQ(descriptionOfTemplate("A $1$", Array()), "none");
  EXPECT_EQ(descriptionOfTemplate("", Array{"x"}), "none");
  EXPECT_EQ(descriptionOfTemplate(5, Array{"x"}), "none");
  EXPECT_EQ(descriptionOfTemplate("A $1$", "x"), "none");
  EXPECT_EQ(descriptionOfTemplate("A $1$ $2$", Array{1, "y"}), "A  y");
}

TEST_F(MessageLocalizationTest, ErrorsNestedWithoutEndAreNotFollowedForever) {
  Error error = privilegedOperationError(1, "Text", "Text");
  for (int depth = 0; depth < 500; ++depth) {
    error = withUnderlyingError(privilegedOperationError(1, "Text", "Text"), std::move(error));
  }
  EXPECT_TRUE(localization().localizedErrorForPrivilegedOperationError(error));
}

/// The tables that are installed with the client.
TEST_F(MessageLocalizationTest, GermanTablesAreComplete) {
  const auto table = [&](const std::string& name) {
    const auto text = test::contentsOf(QRT_TABLES + name + ".strings");
    const auto list = native.facilities().propertyLists.parse(Data(text.begin(), text.end()));
    return list && list->dictionary() ? *list->dictionary() : Dictionary();
  };
  const auto plain = table("PrivilegedOperationErrors");
  const auto polite = table("PrivilegedOperationErrors-Polite");
  EXPECT_EQ(plain.size(), 44u);
  ASSERT_EQ(plain.size(), polite.size());
  for (const auto& [key, text] : plain) {
    SCOPED_TRACE(key);
    ASSERT_TRUE(polite.contains(key));
    for (const auto* translation : {text.string(), polite.at(key).string()}) {
      ASSERT_TRUE(translation);
      EXPECT_NE(*translation, key);
      for (const std::string placeholder : {"$1$", "$2$"}) {
        EXPECT_EQ(translation->find(placeholder) == std::string::npos,
                  key.find(placeholder) == std::string::npos);
      }
    }
  }
  EXPECT_TRUE(plain.contains("Failure in macOS security services detected."));
}

}  // namespace
}  // namespace qrt
