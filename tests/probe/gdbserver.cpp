#include "gdbserver.h"

#include <QTcpServer>
#include <QTcpSocket>

namespace {
constexpr unsigned FLASH = 0x08000000;
constexpr unsigned RAM = 0x20000000;

QByteArray Frame(const QByteArray& Text, bool Bad)
{
    unsigned Sum = Bad;
    for (const char c : Text) {
        Sum += quint8(c);
    }
    return '$' + Text + '#' + QByteArray::number(0x100 + (Sum & 0xFF), 16).right(2);
}

QByteArray Unescape(const QByteArray& Text)
{
    QByteArray Bytes;
    for (int i = 0; i < Text.size(); ++i) {
        Bytes += Text[i] == '}' && i + 1 < Text.size() ? char(Text[++i] ^ 0x20) : Text[i];
    }
    return Bytes;
}
} // namespace

CGdbServer::~CGdbServer()
{
    m_Stop = true;
    wait();
}

int CGdbServer::Listen()
{
    start();
    while (m_Port == 0) {
        msleep(1);
    }
    return m_Port;
}

QStringList CGdbServer::TakeLog()
{
    std::lock_guard Lock(m_Mutex);
    return std::exchange(m_Log, {});
}

QByteArray CGdbServer::Flash()
{
    std::lock_guard Lock(m_Mutex);
    return m_Flash;
}

void CGdbServer::run()
{
    QTcpServer Server;
    Server.listen(QHostAddress::LocalHost);
    m_Port = Server.serverPort();
    while (!m_Stop) {
        if (!Server.waitForNewConnection(20)) {
            continue;
        }
        QTcpSocket* const pSocket = Server.nextPendingConnection();
        pSocket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_Acks = true;
        QByteArray Input;
        QByteArray Last;
        while (!m_Stop && pSocket->state() == QAbstractSocket::ConnectedState) {
            if (m_Fault == HangUp) {
                break;
            }
            if (!pSocket->waitForReadyRead(5)) {
                continue;
            }
            Input += pSocket->readAll();
            if (Input.startsWith('-')) {
                pSocket->write(Last); // once more
                Input.remove(0, 1);
            }
            int End;
            while ((End = Input.indexOf('#')) >= 0 && End + 2 < Input.size()) {
                const int Begin = Input.indexOf('$');
                const QByteArray Packet = Input.mid(Begin + 1, End - Begin - 1);
                Input.remove(0, End + 3);
                if (m_Fault == Silent) {
                    continue;
                }
                if (m_Acks) {
                    pSocket->write("+");
                }
                if (m_Fault == Garbage) {
                    pSocket->write("HTTP/1.1 400 Bad Request\r\n\r\n-+%x$#00$a*\x01#00");
                } else if (m_Fault == Endless) {
                    pSocket->write("$" + QByteArray(3 << 20, 'a'));
                } else {
                    Last = Frame(Answer(Packet), m_Fault == BadChecksums);
                    pSocket->write(Last);
                }
                pSocket->flush();
            }
        }
        pSocket->close();
        delete pSocket;
    }
}

QByteArray CGdbServer::Object(const QByteArray& Request, const QByteArray& Xml) const
{
    const QByteArray Range = Request.mid(Request.lastIndexOf(':') + 1);
    const int Pos = Range.left(Range.indexOf(',')).toInt(nullptr, 16);
    const int Num = Range.mid(Range.indexOf(',') + 1).toInt(nullptr, 16);
    return (Pos + Num >= Xml.size() ? "l" : "m") + Xml.mid(Pos, Num);
}

QByteArray CGdbServer::Answer(const QByteArray& Packet)
{
    std::lock_guard Lock(m_Mutex);
    const auto Number = [&](int Begin, char Until) {
        const int End = Packet.indexOf(Until, Begin);
        return Packet.mid(Begin, End < 0 ? -1 : End - Begin).toUInt(nullptr, 16);
    };
    if (Packet.startsWith("qSupported")) {
        return "PacketSize=100;QStartNoAckMode+;qXfer:features:read+;qXfer:memory-map:read+";
    }
    if (Packet == "QStartNoAckMode") {
        m_Acks = false;
        return "OK";
    }
    if (Packet.startsWith("qXfer:features:read:target.xml:")) {
        return Object(Packet, "<target><!-- <reg name=\"no\"/> --><xi:include href='core.xml'/>"
                              "<reg name=\"msp\" bitsize=\"32\" regnum=\"91\"/></target>");
    }
    if (Packet.startsWith("qXfer:features:read:core.xml:")) {
        QByteArray Xml = "<feature>";
        for (int i = 0; i < 16; ++i) {
            Xml += "<reg name='r" + QByteArray::number(i) + "' bitsize='32'/>";
        }
        return Object(Packet, Xml + "<reg name='xpsr' bitsize='32' regnum='25'/></feature>");
    }
    if (Packet.startsWith("qXfer:memory-map:read:")) {
        return Object(Packet, m_Fault == BadMap
                                  ? "<memory type='flash' start='0x08000000' length='0xFFFFFFFFF'><property "
                                    "name='blocksize'>0</property><memory type='flash' start='0'"
                                  : "<memory-map><memory type=\"flash\" start=\"0x08000000\" length=\"0x1000\">"
                                    "<property name=\"blocksize\">0x400</property></memory></memory-map>");
    }
    if (Packet == "?") {
        return "S05";
    }
    if (Packet.startsWith("qRcmd,")) {
        const QByteArray Command = QByteArray::fromHex(Packet.mid(6));
        m_Log << "monitor " + Command;
        return Command == "reset halt" ? "OK" : "E01";
    }
    if (Packet == "g") {
        QByteArray All;
        for (int i = 0; i < 16; ++i) {
            All += m_Regs.value(i, QByteArray::number(0x10000000u + unsigned(i) * 0x01000000u, 16));
        }
        return All + "xxxxxxxx"; // the status register isn't known
    }
    if (Packet.startsWith('p')) {
        return Number(1, '#') == 91 ? QByteArray("78563412") : QByteArray("E00");
    }
    if (Packet.startsWith('P')) {
        m_Regs[int(Number(1, '='))] = Packet.mid(Packet.indexOf('=') + 1);
        return "OK";
    }
    if (Packet.startsWith("vFlashErase:")) {
        const unsigned Addr = Number(12, ',');
        const unsigned Size = Number(Packet.indexOf(',') + 1, '#');
        m_Log << QString("erase %1+%2").arg(Addr, 0, 16).arg(Size, 0, 16);
        m_Flash.replace(int(Addr - FLASH), int(Size), QByteArray(int(Size), '\xff'));
        return "OK";
    }
    if (Packet.startsWith("vFlashWrite:")) {
        const int Colon = Packet.indexOf(':', 12);
        const QByteArray Bytes = Unescape(Packet.mid(Colon + 1));
        m_Flash.replace(int(Number(12, ':') - FLASH), Bytes.size(), Bytes);
        return "OK";
    }
    if (Packet == "vFlashDone") {
        m_Log << "done";
        return "OK";
    }
    if (Packet.startsWith('m') || Packet.startsWith('X')) {
        const unsigned Addr = Number(1, ',');
        const unsigned Size = Number(Packet.indexOf(',') + 1, Packet[0] == 'm' ? '#' : ':');
        QByteArray& Memory = Addr >= RAM ? m_Ram : m_Flash;
        const unsigned Offset = Addr - (Addr >= RAM ? RAM : FLASH);
        if (Size > 0 && (Offset >= 4096 || Offset + Size > 4096)) {
            return "E0e";
        }
        if (Packet[0] == 'm') {
            return Memory.mid(int(Offset), int(Size)).toHex();
        }
        const QByteArray Bytes = Unescape(Packet.mid(Packet.indexOf(':') + 1));
        if (Bytes.size() != int(Size)) {
            return "E22";
        }
        Memory.replace(int(Offset), int(Size), Bytes);
        return "OK";
    }
    return {};
}
