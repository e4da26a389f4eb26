// A place in the source code: file number, line and column. A plain value.
//
//   CSrcLoc Loc = PROG_GetFirstSrcLoc(PC);
//   if (Loc.IsValid()) Show(PROG_GetFilePath(Loc.File), Loc.Line);
#pragma once
#include "app/services/types.h"

#include <cstddef>

class CSrcLoc {
public:
    U32 File = 0; ///< file number (PROG_GetFilePath gives the path); 0 or 0xFFFFFFFF means none
    U32 Line = 0; ///< from 1; 0 if there is none
    U32 Col = 0;  ///< from 1; 0 if there is none

    constexpr CSrcLoc() = default;
    constexpr CSrcLoc(U32 FileNo, U32 LineNo, U32 ColNo = 0) : File(FileNo), Line(LineNo), Col(ColNo) {}

    /// False for the zero location and for file 0xFFFFFFFF.
    constexpr bool IsValid() const { return File != 0xFFFFFFFFu && (File | Line | Col) != 0; }
    /// Same file and line; the column is not looked at.
    constexpr bool IsSameLine(const CSrcLoc& Other) const { return File == Other.File && Line == Other.Line; }

    constexpr bool operator==(const CSrcLoc& Other) const = default;
    /// By line, then column, then file.
    constexpr bool operator<(const CSrcLoc& Other) const
    {
        if (Line != Other.Line) return Line < Other.Line;
        if (Col != Other.Col) return Col < Other.Col;
        return File < Other.File;
    }
};

inline std::size_t qHash(const CSrcLoc& Loc, std::size_t Seed = 0) noexcept
{
    return ((static_cast<std::size_t>(Loc.File) + 713) * 31 + Loc.Line) ^ Seed;
}
