#include <gtest/gtest.h>

#include "vrex/data/Names.h"

namespace vrex::data {
namespace {

namespace contracts = Korvan::KQ::DataContracts;

class NamesTest : public testing::Test {
 protected:
  void SetUp() override {
    AddTable("Mode", {{1, "Run"}, {0, ""}, {1, "Repeated"}});
    AddTable("Instr", {{7, "Mic"}});
    AddTable("Loc", {{-3, "Front"}});
    AddTable("Param", {{4, "Level"}});
    AddTable("Mode", {{2, "Second table"}});
    AddTable("Empty", {});
    names_ = NameIndex(store_);
  }
  void AddTable(const char* name,
                std::initializer_list<std::pair<std::int32_t, const char*>> rows) {
    contracts::IdNameTable* table = store_.add_tables();
    table->set_name(name);
    for (const auto& [id, text] : rows) {
      contracts::IdNameTableItem* item = table->add_items();
      item->set_id(id);
      item->set_name(text);
    }
  }
  contracts::IdNameTableStore store_;
  NameIndex names_;
};

TEST_F(NamesTest, FirstTableAndRowWinAndMissesAreNamed) {
  EXPECT_EQ(names_.Resolve("Mode", 1).Value(), "Run");
  EXPECT_EQ(names_.Resolve("Mode", 0).Value(), "");
  EXPECT_EQ(names_.Find("Mode", 2), nullptr);
  EXPECT_EQ(names_.Find("mode", 1), nullptr);
  EXPECT_EQ(names_.Resolve("Sensor", 1).GetStatus().Message(), "no name table \"Sensor\"");
  EXPECT_EQ(names_.Resolve("Empty", 5).GetStatus().Message(), "name table \"Empty\" has no Id 5");
}

TEST_F(NamesTest, CrossReferenceRowBecomesClavisParts) {
  const CrossReferenceTables tables{"Instr", "Param", "Mode", "Loc"};
  contracts::ProtocolCrossReferenceData row;
  row.set_pkident(12);
  row.set_fkmode(1);
  row.set_fkinstrument(7);
  row.set_fklocation(-3);
  row.set_fkparameter(4);
  row.set_fkinstance(999);  // no Clavis part; never looked up

  contracts::Clavis expected;
  expected.set_mode("Run");
  expected.set_instrument("Mic");
  expected.set_location("Front");
  expected.set_instrumentparameter("Level");
  const Result<contracts::Clavis> clavis = ResolveCrossReference(row, names_, tables);
  ASSERT_TRUE(clavis.Ok()) << clavis.GetStatus().Message();
  EXPECT_EQ(clavis.Value().SerializeAsString(), expected.SerializeAsString());

  row.set_fklocation(8);
  EXPECT_EQ(ResolveCrossReference(row, names_, tables).GetStatus().Message(),
            "cross reference 12, FkLocation: name table \"Loc\" has no Id 8");
}

}  // namespace
}  // namespace vrex::data
