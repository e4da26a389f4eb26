// Loadable blocks of an ELF file.
#include "program/datafiles/rawblocks.h"
#include "app/services/log.h"

namespace BFile {

static constexpr U32 SEGMENT_LOAD = 1;

QList<RAW_BLOCK> GetElfBlocks(ELF_HANDLE hFile)
{
    QList<RAW_BLOCK> aBlock;
    for (U32 i = 0; i < ELF_GetSegmentCount(hFile); i++) {
        const U8* pData = ELF_GetSegmentData(hFile, i);
        if (ELF_GetSegmentType(hFile, i) != SEGMENT_LOAD || !pData) continue;
        RAW_BLOCK Block{ELF_GetSegmentPhysAddr(hFile, i), ELF_GetSegmentVirtAddr(hFile, i),
                        ELF_GetSegmentFileSize(hFile, i), pData};
        if (Block.LoadAddr != Block.VirtAddr) {
            const U64 Diff = Block.LoadAddr > Block.VirtAddr ? Block.LoadAddr - Block.VirtAddr : Block.VirtAddr - Block.LoadAddr;
            LogDebug(QStringLiteral("Virtual segment address differs from physical address by ") +
                     QString::number(Diff, 16) + QStringLiteral(" bytes"));
        }
        const U32 Gap = ELF_GetSegmentHeaderGap(hFile, i);
        if (Gap <= Block.Size) {
            Block.pData += Gap;
            Block.LoadAddr += Gap;
            Block.VirtAddr += Gap;
            Block.Size -= Gap;
        }
        if (Block.Size) aBlock.append(Block);
    }
    return aBlock;
}

} // namespace BFile
