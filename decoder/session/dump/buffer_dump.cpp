#include "decoder/session/dump/buffer_dump.h"

#include "decoder/slice/picture_slices.h"

namespace UMC {

void DumpBuffer(const H264DBPList& Dpb, std::FILE* pOut)
{
    constexpr char kLine[] = "-==========================================\n";
    std::fprintf(pOut, kLine);
    for (const H264DecoderFrame* p = Dpb.Head(); p; p = p->m_pNext) {
        std::fprintf(pOut, "\n\nUID - %d POC - %d %d  - resetcount - %d\n", p->m_Uid, p->m_PicOrderCnt[0],
                     p->m_PicOrderCnt[1], p->ResetCount());
        std::fprintf(pOut, "Short - %d %d \n", p->m_IsShortTerm[0], p->m_IsShortTerm[1]);
        std::fprintf(pOut, "Long - %d %d \n", p->m_IsLongTerm[0], p->m_IsLongTerm[1]);
        std::fprintf(pOut, "Busy - %d \n", p->m_BusyCount);
        std::fprintf(pOut, "Skipping - %d, FrameExist - %d \n", p->m_IsSkipped, p->m_FrameExists);
        std::fprintf(pOut, "PicNum - (%d, %d) \n", p->m_PicNum[0], p->m_PicNum[1]);
        std::fprintf(pOut, "LongPicNum - (%d, %d) \n", p->m_LongTermPicNum[0], p->m_LongTermPicNum[1]);
        std::fprintf(pOut, "Disp - %d , wasOutput - %d\n", p->m_IsDisplayable, p->m_WasOutputted);
    }
    std::fprintf(pOut, kLine);
}

void DumpTasks(const H264DecoderFrameInfo* pFirst, std::FILE* pOut)
{
    std::fprintf(pOut, "all info\n");
    for (const H264DecoderFrameInfo* p = pFirst; p; p = p->m_pNext) {
        std::fprintf(pOut, "poc - %d\n", p->m_pFrame->PicOrderCnt());
        std::fprintf(pOut, "needtoCheck - %d. status - %d\n", !IsComplete(*p), static_cast<int>(p->m_Status));
    }
    std::fprintf(pOut, "all info end\n");
}

} // namespace UMC
