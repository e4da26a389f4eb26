// CSymbol: a value with a type that can unfold into members, elements and bases; the node of every value tree.
//
//   CSymbol Symbol = CSymbol::FromProgram(hVar);
//   for (int i = 0; i < Symbol.GetChildCount(); i++) Show(Symbol.GetChild(i));
//   Symbol.Read();                       // from the target, in the selected frame; blocks, main thread
//   Text = Symbol.GetValueStr(10);
//
// A plain value, copied freely. Children are made when they are asked for; a child keeps what it needs to find its
// place, so it outlives its parent. An empty symbol (no name, no type) stands for one that does not exist.
#pragma once
#include "app/services/types.h"
#include "program/eval/evaltype.h"
#include "program/symbols/locpieces.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>

/// What unfolds below a symbol.
enum SYMBOL_KINDS { SYMBOL_SCALAR, SYMBOL_AGGREGATE, SYMBOL_ARRAY, SYMBOL_POINTER };

class CSymbol {
public:
    QString Name;
    QString FullName;             ///< path from the root: "p->x", "a[2].b"
    CCType Type;
    ELF_SYM_HANDLE hSym = 0;      ///< variable, member or function of the program, 0 for a computed value
    ELF_SYM_HANDLE hType = 0;     ///< resolved type, 0 for a computed value
    ELF_SYM_LOC Loc{};            ///< evaluated; no parts: not in scope or computed
    ELF_SYM_PIECES Pieces;        ///< where the value is if Loc can't tell, which then has the first two places of it
    U32 ByteSize = 0;
    U32 BitSize = 0;              ///< of a bit field, else 0
    U32 BitOffset = 0;            ///< from the least significant bit of the container
    QList<U32> Dims;              ///< of an array
    U32 ElemSize = 0;             ///< bytes of an array's element
    bool IsConst = false;         ///< computed: the value is all there is
    bool IsFunction = false;
    bool IsType = false;
    bool IsNullMember = false;    ///< reached through a null pointer
    QByteArray Value;             ///< in little-endian order; empty: not read
    bool ReadFailed = false;

    bool IsEmpty() const { return Name.isEmpty() && Type.Text.isEmpty(); }
    bool IsValueValid() const { return !Value.isEmpty(); }
    SYMBOL_KINDS GetKind() const;

    /// A variable, parameter or function at the PC of the selected frame.
    static CSymbol FromProgram(ELF_SYM_HANDLE hSym);
    static CSymbol FromInteger(const QString& sName, U64 Value, int TypeId);
    static CSymbol FromDouble(const QString& sName, double Value);
    /// A value of a type of the program at a memory address.
    static CSymbol FromMemory(const QString& sName, ELF_SYM_HANDLE hType, const CCType& Type, U32 Addr, U32 Size);

    int GetChildCount() const;                     ///< members and bases, elements, or 1 below a pointer
    CSymbol GetChild(int Index) const;             ///< empty outside of the range
    CSymbol GetChild(const QString& sName) const;  ///< a member by name, those of bases and anonymous members included
    CSymbol GetPointee(I64 Index) const;           ///< what a pointer points to; the value must be read
    CSymbol GetElement(I64 Index) const;           ///< an array's element, whatever the declared size

    /// Reads a scalar's value, or the bytes of a char array (32 at most), once. 0, or -1 on failure. Blocks.
    int Read();
    /// Bytes of a place of one part, as a number. False: it is not there (yet).
    using READ_PART = std::function<bool(const ELF_SYM_LOC& Loc, U32 nBytes, U64* pValue)>;
    /// Puts the value of a symbol in pieces together. False if a part of it is not there; the others are asked for too.
    bool ReadPieces(const READ_PART& ReadPart);
    /// Writes a scalar's value: ByteSize bytes in little-endian order, of a bit field those of its container. 0, or -1 if it
    /// can't be written (a constant, a computed value, a lost piece); nothing is written then.
    int Write(const QByteArray& Bytes) const;
    /// A pointer that the compiler has dropped: it has no value, but it unfolds.
    bool IsDroppedPointer() const { return Loc.NumParts == 1 && ELF_IsPointee(Loc.aPart[0]); }
    I64 GetMemAddr() const;                        ///< -1 if it is not in memory
    /// The value as an integer, sign or zero extended by the type. False if there is none of at most 8 bytes.
    bool GetInteger(I64* pValue) const;
    bool GetDouble(double* pValue) const;

    /// The value is shown and extended with a sign. An enumeration has one when the type underneath has, or when an
    /// enumerator is negative.
    bool IsSigned() const;

    QString GetValueStr(int Radix) const;          ///< Radix 0: by the type; 8 stands for characters
    QString GetLocationStr() const;
    QString GetTypeStr() const { return Type.Text; }
    QString GetSizeStr() const;

private:
    CSymbol MakeMember(ELF_SYM_HANDLE hMember, U32 Offset) const;
    void PlaceChild(CSymbol& Child, U32 Offset) const;
    void SetPieces(const ELF_SYM_PIECES& aPiece);
    ELF_SYM_PIECES GetValuePieces() const;
    bool GetBits(const READ_PART& ReadPart, U64 FirstBit, U32 NumBits, U64* pValue) const;
    QString GetScalarText(int Radix) const;
    QString GetCharText() const;
};
