#include "testelf.h"

#include "core/host/corehooks.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <elf.h>

bool CTestElf::Load(const QString& sPath) {
    QFile File(sPath);
    if (!File.open(QIODevice::ReadOnly)) return false;
    aFile = File.readAll();
    const char* pData = aFile.constData();
    Elf32_Ehdr Header;
    std::memcpy(&Header, pData, sizeof Header);
    std::vector<Elf32_Shdr> aHeader(Header.e_shnum);
    std::memcpy(aHeader.data(), pData + Header.e_shoff, aHeader.size() * sizeof(Elf32_Shdr));
    for (const Elf32_Shdr& S : aHeader) {
        if ((S.sh_flags & SHF_ALLOC) && S.sh_type != SHT_NOBITS) {
            const U8* p = reinterpret_cast<const U8*>(pData) + S.sh_offset;
            const char* sName = pData + aHeader[Header.e_shstrndx].sh_offset + S.sh_name;
            aSection.push_back({S.sh_addr, S.sh_flags, std::vector<U8>(p, p + S.sh_size), sName});
        }
        if (S.sh_type != SHT_SYMTAB) continue;
        for (U32 i = 0; i < S.sh_size / sizeof(Elf32_Sym); i++) {
            Elf32_Sym Sym;
            std::memcpy(&Sym, pData + S.sh_offset + i * sizeof Sym, sizeof Sym);
            const char* sName = pData + aHeader[S.sh_link].sh_offset + Sym.st_name;
            const bool IsCode = Sym.st_shndx < aHeader.size() && (aHeader[Sym.st_shndx].sh_flags & SHF_EXECINSTR);
            if (sName[0] == '$' && IsCode) aRegion.push_back({Sym.st_value, sName});
            if (ELF32_ST_TYPE(Sym.st_info) == STT_FUNC) aFunc.push_back({Sym.st_value & ~1u, Sym.st_size, sName});
        }
    }
    std::sort(aRegion.begin(), aRegion.end(), [](const REGION& A, const REGION& B) { return A.Addr < B.Addr; });
    std::sort(aFunc.begin(), aFunc.end(), [](const FUNC& A, const FUNC& B) { return A.Addr < B.Addr; });
    return true;
}

int CTestElf::Read(U64 Addr, U32 Size, void* pBuffer) const {
    for (const SECTION& S : aSection) {
        if (Addr < S.Addr || Addr + Size > S.Addr + S.aData.size()) continue;
        std::memcpy(pBuffer, S.aData.data() + (Addr - S.Addr), Size);
        return 0;
    }
    return -1;
}

int CTestElf::GetRegion(U64 Addr, const char** psName, U64* pStart, U64* pEnd) const {
    auto Next = std::upper_bound(aRegion.begin(), aRegion.end(), Addr, [](U64 A, const REGION& R) { return A < R.Addr; });
    if (Next == aRegion.begin()) return -1;
    *pEnd = Next == aRegion.end() ? 0xFFFFFFFFu : Next->Addr;
    --Next;
    *psName = Next->sName.c_str();
    *pStart = Next->Addr;
    return 0;
}

const CTestElf::FUNC* CTestElf::FindFunc(U32 Addr) const {
    for (const FUNC& F : aFunc) {
        if (Addr >= F.Addr && Addr < F.Addr + F.Size) return &F;
    }
    return nullptr;
}

const CTestElf::FUNC* CTestElf::FindFunc(const char* sName) const {
    for (const FUNC& F : aFunc) {
        if (F.sName == sName) return &F;
    }
    return nullptr;
}

void CTestElf::InstallHooks() const {
    CORE_HOOKS& Hooks = Core_GetHooks();
    Hooks.ReadElfSection = [this](U64 Addr, U32 Size, void* pBuffer) { return Read(Addr, Size, pBuffer); };
    Hooks.GetCodeSection = [this](U64 Addr, const char** psName, U64* pStart, U64* pEnd) {
        return GetRegion(Addr, psName, pStart, pEnd);
    };
    Hooks.GetLabel = [this](U64 Addr, const char** psName, U64* pStart, U64* pEnd) {
        const FUNC* pFunc = FindFunc(static_cast<U32>(Addr));
        if (!pFunc) return -1;
        *psName = pFunc->sName.c_str();
        *pStart = pFunc->Addr;
        *pEnd = pFunc->Addr + pFunc->Size;
        return 1;
    };
}
