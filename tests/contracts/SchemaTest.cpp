// Checks the compiled schema as a whole: the files, their packages, options
// and imports.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "vrex/ContractTypes.h"

namespace {

namespace pb = google::protobuf;

std::vector<const pb::FileDescriptor*> LoadContractFiles() {
  // Uses the library, so that the linker keeps it and its schema is loaded.
  EXPECT_NE(vrex::FindContractMessage("MessageContainer"), nullptr);
  std::vector<const pb::FileDescriptor*> files;
  for (const auto& entry : std::filesystem::directory_iterator(VREX_CONTRACTS_DIR)) {
    if (entry.path().extension() != ".proto") continue;
    const auto* file =
        pb::DescriptorPool::generated_pool()->FindFileByName(entry.path().filename().string());
    EXPECT_NE(file, nullptr) << entry.path() << " is not compiled into the library";
    if (file != nullptr) files.push_back(file);
  }
  return files;
}

// The file a field's type is defined in, if the field refers to another type.
const pb::FileDescriptor* TypeFile(const pb::FieldDescriptor* field) {
  if (field->message_type() != nullptr) return field->message_type()->file();
  if (field->enum_type() != nullptr) return field->enum_type()->file();
  return nullptr;
}

void CollectUsedFiles(const pb::Descriptor* message, std::set<std::string>& used) {
  for (int i = 0; i < message->field_count(); ++i) {
    const pb::FieldDescriptor* field = message->field(i);
    if (field->is_map()) {
      CollectUsedFiles(field->message_type(), used);
      continue;
    }
    if (const auto* file = TypeFile(field); file != nullptr) used.insert(file->name());
  }
}

class ContractSchema : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { files_ = new auto(LoadContractFiles()); }
  static void TearDownTestSuite() { delete files_; }
  static const std::vector<const pb::FileDescriptor*>& files() { return *files_; }

 private:
  static inline std::vector<const pb::FileDescriptor*>* files_ = nullptr;
};

TEST_F(ContractSchema, HasOneTypePerFileInTheThreePackages) {
  ASSERT_FALSE(files().empty());
  for (const auto* file : files()) {
    SCOPED_TRACE(file->name());
    EXPECT_EQ(file->syntax(), pb::FileDescriptor::SYNTAX_PROTO3);
    if (file->package() == "bcl") {
      EXPECT_EQ(file->name(), "bcl.proto");
      continue;
    }
    ASSERT_EQ(file->message_type_count() + file->enum_type_count(), 1);
    const std::string typeName = file->message_type_count() == 1 ? file->message_type(0)->name()
                                                                 : file->enum_type(0)->name();
    EXPECT_EQ(file->name(), typeName + ".proto");
    EXPECT_EQ(file->package(), file->enum_type_count() == 1 ? "Korvan.KQ.DataContracts.Enumerator"
                                                            : "Korvan.KQ.DataContracts");
  }
}

TEST_F(ContractSchema, EveryFileCarriesOnlyTheNamespaceOption) {
  for (const auto* file : files()) {
    SCOPED_TRACE(file->name());
    pb::FileOptions expected;
    expected.set_csharp_namespace(file->package() == "bcl" ? "Korvan.KQ.DataContracts.License.Bcl"
                                                           : "Korvan.KQ.DataContracts");
    EXPECT_EQ(file->options().SerializeAsString(), expected.SerializeAsString());
  }
}

TEST_F(ContractSchema, ImportsExactlyTheFilesItsFieldsUse) {
  for (const auto* file : files()) {
    SCOPED_TRACE(file->name());
    std::set<std::string> used;
    for (int m = 0; m < file->message_type_count(); ++m) {
      CollectUsedFiles(file->message_type(m), used);
    }
    used.erase(file->name());
    std::set<std::string> imported;
    for (int i = 0; i < file->dependency_count(); ++i) {
      imported.insert(file->dependency(i)->name());
    }
    EXPECT_EQ(imported, used);
  }
}

}  // namespace
