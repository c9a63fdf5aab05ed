// Reads arbitrary bytes as a block file, binary or text, in each cache and index mode, and reads
// every value, writes it as text and binary and reads that back.

#include "services/UserMessages.h"
#include "storage/BinaryFile.h"

namespace {

// A reader of the text form that meets a bad value answers: skip it.
struct TSkipValues : tw::IUserMessages {
    void ShowMessage(const std::string&, const std::string&) override {}
    bool AskQuestion(const std::string&, const std::string&) override { return true; }
};

void Walk(tw::TBlocksContainer& blocks) {
    for (int i = 0; i < blocks.Count(); ++i) {
        tw::TVirtualBlock& block = blocks.Get(i);
        block.FullName();
        block.SizeOfContentsInBytes();
        if (auto* container = dynamic_cast<tw::TContainerBlock*>(&block)) {
            Walk(container->Blocks());
        } else if (auto* data = dynamic_cast<tw::TDataBlock*>(&block)) {
            for (int k = 0; k < data->Count(); ++k)
                data->GetAccurateStringValue(k);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static TSkipValues skip;
    tw::SetUserMessages(&skip);
    for (auto mode : {tw::cmInMemory, tw::cmCacheOnDemand, tw::cmNoCache}) {
        try {
            auto file = tw::TBinaryFile::FromBytes(data, size, "fuzz.bin", mode,
                                                   mode == tw::cmInMemory ? tw::imFullIndex
                                                                          : tw::imIndexOnDemand);
            file->GetByName("PARAMS");
            tw::TApplicationBlock info;
            file->TryReadApplicationBlock(info);
            Walk(file->Blocks());
            file->TextRepresentation();
            tw::TMemoryStream binary;
            file->WriteBinary(binary, mode == tw::cmNoCache);
            auto again = tw::TBinaryFile::FromBytes(binary.Memory(), binary.Size(), "again");
            Walk(again->Blocks());
        } catch (const tw::EKovException&) {
        }
    }
    return 0;
}
