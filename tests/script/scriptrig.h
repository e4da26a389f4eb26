// A script with a recording host, for the tests of the interpreter.
//
// The host offers Out (a number), Util.Log (a text), Ret (gives back its argument as an int), Eight
// and Nine (functions of that many parameters) and Stop (sets Abort). What they got stands in Output,
// what OnError reported in Errors as "text@line".
#pragma once
#include "script/lang/scriptctx.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <cstdlib>
#include <memory>

class CScriptRig {
public:
    explicit CScriptRig(const QByteArray& Text, std::size_t HeapSize = SCRIPT_HEAP_SIZE)
        : m_Text(Text), m_pHeap(std::calloc(1, HeapSize), &std::free)
    {
        s_pRunning = this;
        Ctx = Script::Create(m_pHeap.get(), HeapSize, m_Text.constData());
        if (!Ctx) {
            return;
        }
        Ctx->OnError = [](SCRIPT_CTX* pCtx) {
            s_pRunning->Errors += QStringLiteral("%1@%2").arg(QLatin1String(pCtx->ErrorText)).arg(pCtx->Line);
        };
        Script::RegisterConstant(Ctx, "SEVEN", 5, 7);
        Script::RegisterConstant(Ctx, "ALL_ONES", 8, 4294967295);
        for (const char* s :
             {"__api__ int Out (__int64 Value);", "__api__ int Util.Log (const char* sText);",
              "__api__ int Ret (__int64 Value);",
              "__api__ int Eight (int a, int b, int c, int d, int e, int f, int g, int h);",
              "__api__ int Nine (int a, int b, int c, int d, int e, int f, int g, int h, int i);",
              "__api__ int Stop (void);"}) {
            Script::RegisterFunction(Ctx, s, &CScriptRig::Host, NextId++);
        }
        ParseResult = Script::Parse(Ctx);
    }

    /// Runs a function; the output so far as one line.
    QString Run(const char* sName = "f")
    {
        CallResult = Script::CallByName(Ctx, sName);
        return Output.join(QLatin1Char(' '));
    }

    SCRIPT_CTX* Ctx = nullptr;
    int ParseResult = -99;
    int CallResult = -99;
    QStringList Output;
    QStringList Errors;

private:
    static int Host(int Id, const I64* aArgs, int NumArgs)
    {
        CScriptRig& r = *s_pRunning;
        switch (Id) {
        case 0:
            r.Output += QString::number(aArgs[0]);
            return 0;
        case 1:
            if (!Script::IsHeapString(r.Ctx, aArgs[0])) {
                r.Output += QStringLiteral("<%1>").arg(aArgs[0]);
                return -1;
            }
            r.Output +=
                QString::fromUtf8(reinterpret_cast<const char*>(static_cast<std::uintptr_t>(aArgs[0])));
            return 0;
        case 2:
            return static_cast<int>(static_cast<U32>(static_cast<U64>(aArgs[0])));
        case 3: {
            QStringList Args;
            for (int i = 0; i < NumArgs; ++i) {
                Args += QString::number(aArgs[i]);
            }
            r.Output += Args.join(QLatin1Char(','));
            return NumArgs;
        }
        case 5:
            r.Ctx->Abort = 1;
            return 0;
        default:
            r.Output += QStringLiteral("called");
            return 99;
        }
    }

    inline static CScriptRig* s_pRunning = nullptr;
    int NextId = 0;
    QByteArray m_Text;
    std::unique_ptr<void, decltype(&std::free)> m_pHeap;
};
