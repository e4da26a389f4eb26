// A little reader of linked ELF32 files for the tests of the core folder, so that they depend on no other layer:
// section bytes, mapping regions, function symbols; and the hooks of the plug-in host served from it.
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QString>
#include <string>
#include <vector>

class CTestElf {
public:
    struct REGION {
        U32 Addr;
        std::string sName; ///< "$t", "$d"
    };
    struct SECTION {
        U32 Addr;
        U32 Flags;
        std::vector<U8> aData;
        std::string sName;
    };
    struct FUNC {
        U32 Addr; ///< Thumb bit cleared
        U32 Size;
        std::string sName;
    };

    /// False if the file can't be read.
    bool Load(const QString& sPath);

    /// 0 if one section holds the range, else -1.
    int Read(U64 Addr, U32 Size, void* pBuffer) const;
    int GetRegion(U64 Addr, const char** psName, U64* pStart, U64* pEnd) const;
    const FUNC* FindFunc(U32 Addr) const;
    const FUNC* FindFunc(const char* sName) const;

    /// Serves the host's hooks from this file; the object must outlive the plug-in.
    void InstallHooks() const;

    QByteArray aFile;
    std::vector<SECTION> aSection;
    std::vector<REGION> aRegion; ///< ascending
    std::vector<FUNC> aFunc;     ///< ascending
};
