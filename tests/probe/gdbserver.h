// A small GDB server for tests: a core that is only registers, RAM at 0x20000000, flash in 1 KB blocks at 0x08000000.
// It can be told to misbehave. Runs in a thread of its own.
#pragma once
#include <QByteArray>
#include <QMap>
#include <QStringList>
#include <QThread>
#include <atomic>
#include <mutex>

class CGdbServer : public QThread {
    Q_OBJECT
public:
    enum EFault { None, Silent, Garbage, Endless, HangUp, BadChecksums, BadMap };
    explicit CGdbServer(EFault Fault = None) : m_Fault(Fault) {}
    ~CGdbServer() override;
    int Listen(); ///< starts; the port
    void SetFault(EFault Fault) { m_Fault = Fault; }
    QStringList TakeLog(); ///< flash operations and commands, in order
    QByteArray Flash();

protected:
    void run() override;

private:
    QByteArray Answer(const QByteArray& Packet);
    QByteArray Object(const QByteArray& Request, const QByteArray& Xml) const;

    std::atomic<EFault> m_Fault;
    std::atomic<int> m_Port{0};
    std::atomic<bool> m_Stop{false};
    std::mutex m_Mutex;
    QStringList m_Log;
    QByteArray m_Flash = QByteArray(4096, '\xff');
    QByteArray m_Ram = QByteArray(4096, '\0');
    QMap<int, QByteArray> m_Regs; ///< hex
    QByteArray m_Pending;         ///< flash writes until vFlashDone
    unsigned m_PendingAddr = 0;
    bool m_Acks = true;
};
