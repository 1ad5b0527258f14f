// What the converter makes of folders, made for this and the system's own. The zones' offsets are compared in
// converted_rules_test.
#include "zones/converter.h"

#include <gtest/gtest.h>
#include <unicode/ures.h>
#include <unicode/uvernum.h>

#include <algorithm>
#include <filesystem>

#include "support/cases.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"
#include "zones/rules_file.h"

namespace {

using zones::convert;
using zones::OwnRules;
using zones::SystemZones;

namespace fs = std::filesystem;

const OwnRules& own() {
  static const OwnRules rules = zones::readOwnRules();
  return rules;
}

// A folder of zones that is filled by hand.
class Made {
 public:
  explicit Made(const std::string& version = "# version 2099z\n") { write("tzdata.zi", version); }
  void write(const std::string& name, const std::string& bytes) const {
    fs::create_directories(fs::path(folder_.path(name)).parent_path());
    folder_.write(name, bytes);
  }
  SystemZones zones() const { return SystemZones(folder_.path("")); }
  std::string problem() const {
    try {
      convert(zones(), own());
      return "";
    } catch (const zones::BadZones& bad) {
      return bad.what();
    }
  }
  // The converted file, as this library reads ICU's.
  OwnRules converted() const {
    const TemporaryFolder folder;
    folder.write("zoneinfo64.res", convert(zones(), own()).file);
    return zones::readRulesIn(folder.path(""));
  }

 private:
  TemporaryFolder folder_;
};

const OwnRules::Zone* find(const OwnRules& rules, const std::string& name) {
  const auto found = std::find_if(rules.zones.begin(), rules.zones.end(),
                                  [&](const auto& zone) { return zone.name == name; });
  return found == rules.zones.end() ? nullptr : &*found;
}

TEST(Converter, EveryNameOfIcusStays) {
  Made made;
  made.write("Europe/Paris", zoneFile(0, {{0, 3600}}));
  const OwnRules rules = made.converted();
  EXPECT_EQ(rules.release, "2099z");
  Cases cases(600);
  ASSERT_EQ(rules.zones.size(), own().zones.size());
  for (std::size_t i = 0; i < rules.zones.size(); ++i) {
    EXPECT_EQ(rules.zones[i].name, own().zones[i].name);
    EXPECT_EQ(rules.zones[i].region, own().zones[i].region);
    EXPECT_EQ(rules.zones[i].alias, own().zones[i].alias);
    if (own().zones[i].name == "Europe/Paris") continue;
    // Without a file, the rules are ICU's.
    const zones::IcuZone &a = rules.zones[i].rules, &b = own().zones[i].rules;
    EXPECT_EQ(a.types, b.types) << own().zones[i].name;
    EXPECT_EQ(a.changes.size(), b.changes.size()) << own().zones[i].name;
    EXPECT_EQ(a.final.has_value(), b.final.has_value()) << own().zones[i].name;
    ++cases;
  }
}

TEST(Converter, NewNamesAreAdded) {
  Made made;
  made.write("Europe/Yonder", zoneFile(0, {{0, 3600}}));
  made.write("Europe/Paris", zoneFile(0, {{0, 7200}}));
  made.write("Europe/Parigi", zoneFile(0, {{0, 7200}}));
  made.write("zone.tab",
             "# comment\nXY\t+0000+00000\tEurope/Yonder\nFR\t+4852+00220\tEurope/Paris\tx\n");
  const auto converted = convert(made.zones(), own());
  EXPECT_EQ(converted.added, 2u);
  EXPECT_EQ(converted.names, own().zones.size() + 2);
  const OwnRules rules = made.converted();
  ASSERT_TRUE(find(rules, "Europe/Yonder") && find(rules, "Europe/Parigi"));
  EXPECT_EQ(find(rules, "Europe/Yonder")->region, "XY");
  EXPECT_FALSE(find(rules, "Europe/Yonder")->alias);
  EXPECT_EQ(find(rules, "Europe/Yonder")->rules.changes.size(), 1u);
  // One whose file is another's is another name of it.
  EXPECT_EQ(find(rules, "Europe/Parigi")->region, "001");
  ASSERT_TRUE(find(rules, "Europe/Parigi")->alias);
  EXPECT_EQ(rules.zones[*find(rules, "Europe/Parigi")->alias].name, "Europe/Paris");
  EXPECT_TRUE(std::is_sorted(rules.zones.begin(), rules.zones.end(),
                             [](const auto& a, const auto& b) { return a.name < b.name; }));
}

TEST(Converter, AliasesFollowTheSystem) {
  Made made;
  made.write("Europe/London", zoneFile(0, {{0, 3600}}));
  made.write("GB", zoneFile(0, {{0, 3600}}));
  made.write("Europe/Jersey", zoneFile(0, {{0, 7200}}));  // ICU takes it for London
  const OwnRules rules = made.converted();
  const auto nameBehind = [&](const char* name) {
    const OwnRules::Zone* zone = find(rules, name);
    return zone->alias ? rules.zones[*zone->alias].name : "";
  };
  ASSERT_TRUE(find(own(), "Europe/Jersey")->alias);
  EXPECT_EQ(nameBehind("GB"), "Europe/London");
  EXPECT_EQ(nameBehind("Europe/Jersey"), "");
  EXPECT_EQ(find(rules, "Europe/Jersey")->rules.types.back().raw, 7200);
  EXPECT_EQ(nameBehind("Europe/Belfast"), "Europe/London") << "no file of its own";
}

TEST(Converter, TellsWhatIsWrongWithAFolder) {
  const std::string good = zoneFile(0, {});
  for (const char* version : {"", "# version unknown\n"}) {
    const Made made(version);
    made.write("Europe/Paris", good);
    EXPECT_EQ(made.problem(),
              "does not tell its release: there is neither tzdata.zi nor +VERSION in it");
  }
  EXPECT_EQ(Made().problem(), "has no zone files");
  EXPECT_EQ(SystemZones("/nowhere").release(), std::nullopt);
  EXPECT_THROW(SystemZones("/nowhere").names(), zones::BadZones);

  Made cut;
  cut.write("Europe/Paris", good);
  cut.write("Europe/Rome", good.substr(0, 60));
  EXPECT_EQ(cut.problem(), "Europe/Rome: cut short");
  // Without its first bytes a file does not look like a zone's; ICU's old rules must not stand in for it.
  for (const char* bytes : {"", "TZ", "text\n"}) {
    Made begun;
    begun.write("Europe/Paris", good);
    begun.write("Europe/Rome", bytes);
    EXPECT_EQ(begun.problem(), "Europe/Rome: not a zone file") << bytes;
  }
  Made large;
  large.write("Europe/Paris", good + std::string(2 << 20, 'x'));
  EXPECT_EQ(large.problem(), "Europe/Paris: too large for a zone file");

  // Not zones, whatever they are.
  Made other("");
  other.write("+VERSION", "2099z\n");
  other.write("Europe/Paris", good);
  for (const char* name :
       {"posix/Europe/Rome", "right/Europe/Rome", "localtime", "posixrules", "Europe/Ro me"})
    other.write(name, good);
  other.write("leapseconds", "# text\n");
  fs::create_directory_symlink(".", other.zones().folder() + "/loop");
  fs::create_directory_symlink("..", other.zones().folder() + "/Europe/up");
  fs::create_symlink("self", other.zones().folder() + "/self");
  fs::create_symlink("nowhere", other.zones().folder() + "/Europe/Elsewhere");
  fs::create_directory_symlink("Europe", other.zones().folder() + "/Twice");
  EXPECT_EQ(other.problem(), "");
  EXPECT_EQ(other.zones().names(), (std::vector<std::string>{"Europe/Paris", "Twice/Paris"}));
  EXPECT_EQ(convert(other.zones(), own()).release, "2099z");
  // A zone that ICU knows must not keep ICU's old rules for that.
  fs::create_symlink("nowhere", other.zones().folder() + "/Europe/Rome");
  EXPECT_EQ(other.problem(), "Europe/Rome: a link that leads nowhere");
}

TEST(Converter, WritesWhatItReads) {
  // Far changes stand in lists of their own, and equal rules once.
  Made made;
  made.write("A/Far", zoneFile(0, {{-5000000000, 600},
                                   {-2147483649, 1200},
                                   {-2147483648, 1800},
                                   {2147483647, 2400},
                                   {2147483648, 3000},
                                   {9000000000, 3600}}));
  made.write("A/Rule", zoneFile(0, {}, "AAA0BBB,M3.2.0,M11.1.0"));
  made.write("B/Rule", zoneFile(3600, {}, "AAA-1BBB,M3.2.0,M11.1.0"));
  const OwnRules rules = made.converted();
  const zones::IcuZone& far = find(rules, "A/Far")->rules;
  ASSERT_EQ(far.changes.size(), 6u);
  const std::int64_t seconds[] = {-5000000000, -2147483649, -2147483648,
                                  2147483647,  2147483648,  9000000000};
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(far.changes[i].second, seconds[i]);
    EXPECT_EQ(far.types[far.changes[i].type].raw, static_cast<int>(i + 1) * 600);
  }
  ASSERT_TRUE(find(rules, "A/Rule")->rules.final && find(rules, "B/Rule")->rules.final);
  EXPECT_EQ(find(rules, "A/Rule")->rules.final->rule, find(rules, "B/Rule")->rules.final->rule);
  EXPECT_EQ(find(rules, "B/Rule")->rules.final->raw, 3600);
}

TEST(Converter, SaysWhereItsRulesAreFrom) {
  Made made;
  made.write("Europe/Paris", zoneFile(0, {}));
  const auto checked = zones::checkRules(convert(made.zones(), own()).file);
  EXPECT_EQ(checked.problem, "");
  EXPECT_EQ(checked.label.release, "2099z");
  EXPECT_EQ(checked.label.icuMajor, U_ICU_VERSION_MAJOR_NUM);
  EXPECT_EQ(checked.label.from, made.zones().folder());
}

}  // namespace
