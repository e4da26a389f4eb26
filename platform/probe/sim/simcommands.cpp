// Text commands of the simulated probe: those that the debugger sends to any probe, and the
// "Sim." family that stands for hands on the board.
#include "platform/probe/core/textargs.h"
#include "platform/probe/sim/simbackend.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

namespace Sim {

using Probe::SplitWords;
using Probe::ToU32;

namespace {

/// Text with \n, \r, \t, \\, \" and \xNN turned into bytes, double quotes around it dropped.
std::string Unescape(std::string Text)
{
    if (Text.size() >= 2 && Text.front() == '"' && Text.back() == '"') {
        Text = Text.substr(1, Text.size() - 2);
    }
    std::string Bytes;
    for (std::size_t i = 0; i < Text.size(); ++i) {
        if (Text[i] != '\\' || i + 1 == Text.size()) {
            Bytes += Text[i];
            continue;
        }
        const char c = Text[++i];
        if (c == 'x') {
            const auto Value = ToU32("0x" + Text.substr(i + 1, 2));
            if (Value) {
                Bytes += static_cast<char>(*Value);
                i += 2;
                continue;
            }
        }
        Bytes += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
    }
    return Bytes;
}

/// Pin "A0" to "B15".
struct CPinName {
    unsigned Port, Pin;
};
std::optional<CPinName> ToPin(const std::string& Word)
{
    const int Letter = Word.empty() ? 0 : std::toupper(static_cast<unsigned char>(Word[0]));
    const auto Pin = Word.size() > 1 ? ToU32(Word.substr(1)) : std::nullopt;
    if ((Letter != 'A' && Letter != 'B') || !Pin || *Pin >= CGpio::NUM_PINS) {
        return std::nullopt;
    }
    return CPinName{static_cast<unsigned>(Letter - 'A'), *Pin};
}

constexpr const char* NO_BOARD = "There is no board yet: connect first";

bool IsOneOf(const std::string& Name, std::initializer_list<const char*> Names)
{
    return std::any_of(Names.begin(), Names.end(), [&](const char* s) { return Name == s; });
}

bool Fail(int& Result, std::string& Answer, const char* sText)
{
    Result = BRYLLO_ERR_PARAM;
    Answer = sText;
    return true;
}

} // namespace

bool CSimBackend::ExecCommand(const std::string& Name, const std::string& Args, int& Result,
                              std::string& Answer)
{
    if (Name == "setmemlaneaddr" || Name == "setmemlanesearchranges") {
        Result = BRYLLO_ERR_NO_SERVICE;
        Answer = "This probe has no Memlane service";
        return true;
    }
    if (Name == "readintotracecache" || Name == "tracesampleadjust" || Name == "trace_setenabletimestamps" ||
        Name == "selecttracesource") {
        Result = BRYLLO_ERR_NO_SERVICE;
        Answer = "This probe has no instruction trace";
        return true;
    }
    if (Name == "supplypower") {
        const auto On = ToU32(Args);
        if (!On || *On > 1) {
            return Fail(Result, Answer, "SupplyPower takes 0 or 1");
        }
        if (HasBoard() && Board().IsPowered() != (*On == 1)) {
            Board().SetPower(*On == 1);
            WakeRunner();
        }
        return true;
    }
    if (!Name.starts_with("sim.")) {
        return false;
    }
    return ExecSimCommand(Name, Args, Result, Answer) || ExecPortCommand(Name, Args, Result, Answer) ||
           ExecBoardCommand(Name, Args, Result, Answer);
}

/// Commands that concern the simulator and last from board to board.
bool CSimBackend::ExecSimCommand(const std::string& Name, const std::string& Args, int& Result,
                                 std::string& Answer)
{
    const std::vector<std::string> Words = SplitWords(Args);
    const auto Number = [&](std::size_t Index) {
        return Index < Words.size() ? ToU32(Words[Index]) : std::nullopt;
    };
    if (Name == "sim.setspeed") {
        const std::string Word = Words.empty() ? "" : Probe::ToLower(Words[0]);
        const auto Hz = Number(0);
        if (Word != "max" && Word != "real" && (!Hz || *Hz < 1000)) {
            return Fail(Result, Answer, "usage: Sim.SetSpeed max | real | <Hz, 1000 and more>");
        }
        m_SpeedLimit = Word == "max" ? 0 : Word == "real" ? 1 : *Hz;
        for (const auto& pBoard : m_Boards) {
            if (pBoard) {
                pBoard->SetSpeedLimit(m_SpeedLimit);
            }
        }
        WakeRunner();
        return true;
    }
    if (Name == "sim.setbpunits" || Name == "sim.setdataunits") {
        const auto NumUnits = Number(0);
        if (!NumUnits || *NumUnits > 64) {
            return Fail(Result, Answer, "usage: <command> <number of units, 0 to 64>");
        }
        (Name == "sim.setbpunits" ? m_Caps.NumBPUnits : m_Caps.NumDataUnits) = *NumUnits;
        if (HasBoard()) {
            ApplyUnits();
        }
        return true;
    }
    if (Name == "sim.setcap") {
        const std::string Cap = Words.empty() ? "" : Probe::ToLower(Words[0]);
        const auto Value = Number(1);
        const U32 Max = Cap == "bma" ? 2 : Cap == "web" ? 65535 : 1;
        if ((Cap != "bma" && Cap != "swo" && Cap != "trace" && Cap != "web") || !Value || *Value > Max) {
            return Fail(Result, Answer,
                        "usage: Sim.SetCap BMA <0..2> | SWO <0..1> | TRACE <0..1> | WEB <port>");
        }
        if (Cap == "bma") {
            m_Caps.BMA = static_cast<U8>(*Value);
        } else if (Cap == "web") {
            m_Caps.WebPort = *Value;
        } else {
            (Cap == "swo" ? m_Caps.SWO : m_Caps.Trace) = *Value != 0;
        }
        return true;
    }
    if (Name == "sim.resetcaps") {
        m_Caps = {};
        if (HasBoard()) {
            ApplyUnits();
        }
        return true;
    }
    if (Name == "sim.maskints" || Name == "sim.flashcost") {
        const auto Value = Number(0);
        if (!Value || *Value > 10000) {
            return Fail(Result, Answer,
                        Name == "sim.maskints" ? "usage: Sim.MaskInts 0 | 1"
                                               : "usage: Sim.FlashCost <ms a sector>");
        }
        if (Name == "sim.maskints") {
            m_MaskInterrupts = *Value != 0;
        } else {
            m_SectorCostMS = *Value;
        }
        return true;
    }
    return false;
}

/// Pins and serial port of the board of the selected probe.
bool CSimBackend::ExecPortCommand(const std::string& Name, const std::string& Args, int& Result,
                                  std::string& Answer)
{
    if (!IsOneOf(Name, {"sim.setpin", "sim.getpin", "sim.uartfeed", "sim.uartread", "sim.uartfile"})) {
        return false;
    }
    if (!HasBoard()) return Fail(Result, Answer, NO_BOARD);
    if (Name == "sim.uartfeed") {
        Board().Uart().Feed(Unescape(Args));
    } else if (Name == "sim.uartread") {
        Answer = Board().Uart().TakeOutput();
    } else if (Name == "sim.uartfile") {
        if (!Board().Uart().SetFile(Unescape(Args))) return Fail(Result, Answer, "The file cannot be opened");
    } else {
        const std::vector<std::string> Words = SplitWords(Args);
        const auto Pin = Words.empty() ? std::nullopt : ToPin(Words[0]);
        const auto Level = Words.size() > 1 ? ToU32(Words[1]) : std::nullopt;
        const bool IsSet = Name == "sim.setpin";
        if (!Pin || (IsSet && (!Level || *Level > 1))) {
            return Fail(Result, Answer,
                        IsSet ? "usage: Sim.SetPin <A0..B15> <0 or 1>" : "usage: Sim.GetPin <A0..B15>");
        }
        CGpio& Gpio = Board().Gpio(Pin->Port);
        if (IsSet) {
            Gpio.SetPin(Pin->Pin, *Level != 0);
        } else {
            Answer = Gpio.GetPin(Pin->Pin) ? "1" : "0";
        }
    }
    return true;
}

/// Counts, flash and power of the board of the selected probe.
bool CSimBackend::ExecBoardCommand(const std::string& Name, const std::string& Args, int& Result,
                                   std::string& Answer)
{
    if (!IsOneOf(Name, {"sim.cycles", "sim.instructions", "sim.diagreads", "sim.flashfail", "sim.erase",
                        "sim.powercycle"})) {
        return false;
    }
    if (!HasBoard()) return Fail(Result, Answer, NO_BOARD);
    if (Name == "sim.cycles") {
        Answer = std::to_string(Board().Core(m_Core).GetCycles());
    } else if (Name == "sim.instructions") {
        Answer = std::to_string(Board().Core(m_Core).GetInstructions());
    } else if (Name == "sim.diagreads") {
        Answer = std::to_string(Board().Diag().GetNumReads());
    } else if (Name == "sim.flashfail") {
        using EPhase = CFlash::EPhase;
        constexpr std::pair<const char*, EPhase> PHASES[] = {{"none", EPhase::None},
                                                             {"compare", EPhase::Compare},
                                                             {"program", EPhase::Program},
                                                             {"verify", EPhase::Verify}};
        const auto It = std::find_if(std::begin(PHASES), std::end(PHASES),
                                     [&](const auto& p) { return Probe::ToLower(Args) == p.first; });
        if (It == std::end(PHASES)) {
            return Fail(Result, Answer, "usage: Sim.FlashFail none | compare | program | verify");
        }
        Board().Flash().FailNext(It->second);
    } else if (m_Programming) {
        return Fail(Result, Answer, "Flash is being programmed");
    } else {
        if (Name == "sim.erase") {
            Board().Flash().EraseAll();
            Board().Invalidate(Board().GetDevice().Flash.Addr, Board().GetDevice().Flash.NumBytes);
        }
        Board().SetPower(false);
        Board().SetPower(true);
        if (Board().TakeRecreated() && m_Connected) m_Debug.Reapply();
        WakeRunner();
    }
    return true;
}

} // namespace Sim
