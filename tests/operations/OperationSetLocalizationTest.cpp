#include "operations/PrivilegedOperationError.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "operations/StringTables.h"
#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

class OperationSetLocalization : public testing::Test {
 protected:
  using Set = QRTPrivilegedOperationSet;

  void plant(const std::string& file, const std::string& contents) {
    test::plant(bundle, "Resources/" + file + ".strings", contents);
  }
  Localization localization(bool isPolite = false) {
    // Tables are cached, so each call gets new ones.
    tables = std::make_unique<StringTables>(bundle.path(), "de", native.facilities().files);
    return {*tables, isPolite};
  }
  Outcome localized(const Outcome& error) {
    return Set::localizedErrorForPrivilegedOperationError(error, localization());
  }

  const test::ScratchFolder bundle;
  const NativePlatform native;
  std::unique_ptr<StringTables> tables;
};

TEST_F(OperationSetLocalization, ATextIsOfTheLanguageElseOfTheBundleElseTheValue) {
  plant("Common", "key = common;");
  plant("T", "key = common; \"only here\" = common;");
  plant("de.lproj/T", "key = deutsch;");
  plant("de.lproj/Broken", "key = ");
  plant("Localizable", "key = default;");
  plant("Localizable-Polite", "key = \"polite default\";");
  plant("de.lproj/P", "key = plain; other = plain;");
  plant("de.lproj/P-Polite", "key = polite;");
  const struct {
    const char *key, *table, *plain, *polite;
  } cases[] = {{"key", "Common", "common", "common"},    {"key", "T", "deutsch", "deutsch"},
               {"only here", "T", "value", "value"},     {"key", "Broken", "value", "value"},
               {"key", "", "default", "polite default"}, {"key", "P", "plain", "polite"},
               {"other", "P", "plain", "value"}};
  for (const auto& [key, table, plain, polite] : cases) {
    const auto text = Set::localizedUIPolitenessAgnosticStringForKey;
    EXPECT_EQ(text(key, "value", table, localization()), plain) << key << table;
    EXPECT_EQ(text(key, "value", table, localization(true)), polite) << key << table;
  }
}

TEST_F(OperationSetLocalization, ATemplateTakesItsParametersOneAfterAnother) {
  plant("de.lproj/PrivilegedOperationErrors", "\"$1$ of $2$\" = \"von $2$: $1$\";");
  const std::tuple<PropertyValue, PropertyValue, std::string> cases[] = {
      {"$1$ of $2$", Array{"eins", "zwei"}, "von zwei: eins"},
      {"$1$ $2$", Array{"$2$", "b"}, "b b"},
      {"$1$ $2$", Array{"$1$", "$1$"}, "$1$ $1$"},
      {"A $1$ $2$", Array{1, "y"}, "A  y"},
      {"A $1$", Array(), "none"},
      {"A $1$", "x", "none"},
      {5, Array{"x"}, "none"}};
  for (const auto& [text, parameters, wanted] : cases) {
    const auto error = localized(Error{"d",
                                       1,
                                       {{"QRTLocalizedDescriptionTemplate", text},
                                        {"QRTLocalizedDescriptionParameters", parameters}}});
    const auto* expanded = stringIn(error->userInfo, "NSLocalizedDescription");
    EXPECT_EQ(expanded ? *expanded : "none", wanted);
  }
}

TEST_F(OperationSetLocalization, ErrorsAreLocalizedWithThoseUnderneath) {
  plant("de.lproj/PrivilegedOperationErrors", "Text = Neu;");
  EXPECT_EQ(localized(success), success);
  Error nested = privilegedOperationError(1, "Text", "Text");
  for (int depth = 0; depth < 500; ++depth) {
    nested = withUnderlyingError(privilegedOperationError(1, "Text", "Text"), std::move(nested));
  }
  const auto outcome = localized(nested);
  int localizedLevels = 0;
  const auto* level = &*outcome;
  for (; *stringIn(level->userInfo, "NSLocalizedDescription") == "Neu"; ++localizedLevels) {
    level = level->userInfo.at("NSUnderlyingError").error();
  }
  EXPECT_EQ(localizedLevels, 33);
}

}  // namespace
}  // namespace qrt
