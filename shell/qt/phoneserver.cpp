// Playing with phones: the menu item, the invitation window with its QR code, and Qt's HTTP server that
// carries the game's page on the local network while the invitation is open. What the page says and what
// an answer does is the game's (shell/phone.h); this file only guards the door: the join code, the sizes,
// the number of connections and the time a client may take.
#include "shell/phone.h"
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"

#include <QAbstractHttpServer>
#include <QAction>
#include <QDialog>
#include <QElapsedTimer>
#include <QHttpServerRequest>
#include <QLabel>
#include <QNetworkInterface>
#include <QPainter>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QVBoxLayout>

#include <qrencode.h>

#include <map>
#include <unistd.h>

namespace {

constexpr quint16 firstPort = 8088;
constexpr int portsTried = 100;
constexpr int mostConnections = 64;
constexpr qint64 mostBody = 16 * 1024;
// Room for the request line and headers in front of the body.
constexpr qint64 mostHead = 8 * 1024;
constexpr int slowClientMs = 10000;
constexpr int wrongCodesAllowed = 20;
constexpr qint64 refusedMs = 60000;

// Wrong join codes from one address; at the 20th the address is refused for a minute.
struct Strikes {
    int Count = 0;
    QElapsedTimer Refused;
};

class Door;
class PhoneServer;

// One open invitation: the server, the window and what they show.
struct Round {
    PhoneServer* Server = nullptr;
    Door* Listener = nullptr;
    QDialog* Window = nullptr;
    QLabel* Count = nullptr;
    QByteArray Code;
    int Answered = 0;
    int Connections = 0;
    std::map<QString, Strikes> Addresses;
};
Round* current = nullptr;

bool refused(const QHostAddress& address) {
    const auto at = current->Addresses.find(address.toString());
    return at != current->Addresses.end() && at->second.Refused.isValid() &&
           at->second.Refused.elapsed() < refusedMs;
}

void strike(const QHostAddress& address) {
    Strikes& s = current->Addresses[address.toString()];
    if (s.Refused.isValid() && s.Refused.elapsed() >= refusedMs) s = Strikes();
    if (++s.Count == wrongCodesAllowed) {
        s.Refused.start();
        debuglog("phoneserver: " + address.toString().toStdString() + " sent " +
                 std::to_string(wrongCodesAllowed) + " wrong join codes and is refused for a minute.");
    }
}

const char* reason(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 409:
        return "Conflict";
    case 413:
        return "Payload Too Large";
    default:
        return "Service Unavailable";
    }
}

// One answer per connection, then the connection is closed: a phone's next page opens a new one.
void answer(QTcpSocket* socket, int status, const std::string& html = {}) {
    if (!socket || socket->state() != QAbstractSocket::ConnectedState) return;
    QByteArray out = "HTTP/1.1 " + QByteArray::number(status) + " " + reason(status) + "\r\n";
    if (!html.empty()) out += "Content-Type: text/html; charset=utf-8\r\nCache-Control: no-store\r\n";
    out += "Content-Length: " + QByteArray::number(static_cast<qint64>(html.size())) +
           "\r\nConnection: close\r\n\r\n";
    out.append(html.data(), static_cast<qsizetype>(html.size()));
    socket->write(out);
    socket->disconnectFromHost();
}

bool rightpath(const QByteArray& path) {
    return path == "/" + current->Code + "/" || path == "/" + current->Code;
}

class PhoneServer : public QAbstractHttpServer {
  protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest&, QTcpSocket* socket) override { answer(socket, 404); }
};

// The listening socket: it counts the connections, drops the slow and the refused, and turns away a body
// that is too large before the server has read it.
class Door : public QTcpServer {
  protected:
    void incomingConnection(qintptr handle) override;
};

// Looks at what has come in before the server reads it: a body announced or sent beyond the limit is
// answered with 413 (or 404 with a wrong code) at once, and nothing of it reaches the game.
void guard(QTcpSocket* socket) {
    // The round may have ended while this was on its way; the server goes with the next event loop pass.
    if (!current) return;
    const qint64 seen = socket->property("seen").toLongLong() + socket->bytesAvailable();
    socket->setProperty("seen", seen);
    const QByteArray head = socket->peek(mostHead);
    const qsizetype end = head.indexOf("\r\n\r\n");
    qint64 announced = 0;
    if (end >= 0)
        for (const QByteArray& line : head.left(end).split('\n'))
            if (line.trimmed().toLower().startsWith("content-length:"))
                announced = line.mid(line.indexOf(':') + 1).trimmed().toLongLong();
    if (announced <= mostBody && seen <= mostBody + mostHead) return;
    const QList<QByteArray> first = head.left(head.indexOf("\r\n")).split(' ');
    const bool known = first.size() >= 2 && rightpath(QUrl(QString::fromLatin1(first[1])).path().toLatin1());
    if (!known) strike(socket->peerAddress());
    QObject::disconnect(socket, &QTcpSocket::readyRead, current->Server, nullptr);
    answer(socket, known ? 413 : 404);
}

void Door::incomingConnection(qintptr handle) {
    if (!current || current->Connections >= mostConnections) {
        ::close(static_cast<int>(handle));
        return;
    }
    auto* socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(handle) || refused(socket->peerAddress())) {
        socket->abort();
        socket->deleteLater();
        return;
    }
    ++current->Connections;
    QObject::connect(socket, &QObject::destroyed, [round = current] {
        if (current == round) --round->Connections;
    });
    // A client gets 10 seconds for its request, however slowly it sends.
    QTimer::singleShot(slowClientMs, socket, [socket] {
        if (socket->property("answered").toBool()) return;
        socket->abort();
        socket->deleteLater();
    });
    // Before the server's own reading, which it connects when it takes the connection.
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket] { guard(socket); });
    addPendingConnection(socket);
}

bool PhoneServer::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    if (!current) {
        socket->abort();
        return true;
    }
    socket->setProperty("answered", true);
    const QByteArray path = request.url().path().toLatin1();
    if (!rightpath(path)) {
        // A browser asks for its icon by itself: that is no guess at the code.
        if (!path.startsWith("/" + current->Code + "/") && path != "/favicon.ico")
            strike(request.remoteAddress());
        answer(socket, 404);
        return true;
    }
    const t_PhoneHandlers& game = t_PhoneGame();
    if (!game.Page || !game.Post) {
        answer(socket, 503);
        return true;
    }
    if (request.method() != QHttpServerRequest::Method::Post) {
        answer(socket, 200, game.Page());
        return true;
    }
    if (request.body().size() > mostBody) {
        answer(socket, 413);
        return true;
    }
    // The answer may come later, from the program thread; the connection may be gone by then.
    const QByteArray body = request.body();
    game.Post(std::string_view(body.constData(), static_cast<size_t>(body.size())),
              [socket = QPointer<QTcpSocket>(socket)](const t_PhoneReply& reply) {
                  if (reply.Stored && current) {
                      ++current->Answered;
                      current->Count->setText("Per Telefon beantwortet: " +
                                              QString::number(current->Answered));
                  }
                  answer(socket, reply.Status, reply.Html);
              });
    return true;
}

// The computer's IPv4 address on the local network, or 127.0.0.1 when it has none.
QHostAddress localaddress() {
    for (const QNetworkInterface& i : QNetworkInterface::allInterfaces()) {
        const auto flags = i.flags();
        if (!(flags & QNetworkInterface::IsUp) || !(flags & QNetworkInterface::IsRunning) ||
            (flags & QNetworkInterface::IsLoopBack))
            continue;
        for (const QNetworkAddressEntry& e : i.addressEntries())
            if (e.ip().protocol() == QAbstractSocket::IPv4Protocol && !e.ip().isLoopback() &&
                !e.ip().isLinkLocal())
                return e.ip();
    }
    return QHostAddress(QHostAddress::LocalHost);
}

// The QR code of the text from libqrencode's modules, with the quiet zone of four modules around it.
QPixmap qrcode(const QByteArray& text) {
    QRcode* code = QRcode_encodeString(text.constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1);
    if (!code) {
        debuglog("phoneinvitation: No QR code for the address.");
        return {};
    }
    constexpr int scale = 8, quiet = 4;
    const int side = (code->width + 2 * quiet) * scale;
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int y = 0; y < code->width; ++y)
        for (int x = 0; x < code->width; ++x)
            if (code->data[y * code->width + x] & 1)
                painter.fillRect((x + quiet) * scale, (y + quiet) * scale, scale, scale, Qt::black);
    QRcode_free(code);
    return QPixmap::fromImage(image);
}

void stopround() {
    if (!current) return;
    Round* round = current;
    current = nullptr;
    round->Listener->close();
    round->Server->deleteLater();
    if (round->Window) {
        round->Window->disconnect();
        round->Window->close();
        round->Window->deleteLater();
    }
    delete round;
    debuglog("phoneinvitation: Stopped listening.");
}

void openinvitation() {
    if (current) {
        current->Window->raise();
        current->Window->activateWindow();
        return;
    }
    if (!t_PhoneGame().Page) {
        debuglog("phoneinvitation: The game takes no answers now.");
        t_Beep();
        return;
    }
    const std::string code = t_PhoneJoinCode();
    if (code.empty()) {
        t_Beep();
        return;
    }
    auto* round = new Round;
    round->Code = QByteArray::fromStdString(code);
    round->Server = new PhoneServer;
    round->Listener = new Door;
    quint16 port = firstPort;
    while (!round->Listener->listen(QHostAddress::AnyIPv4, port) && port < firstPort + portsTried) ++port;
    if (!round->Listener->isListening()) {
        debuglog("phoneinvitation: No free port from 8088 on.");
        delete round->Listener;
        delete round->Server;
        delete round;
        t_Beep();
        return;
    }
    round->Listener->setParent(round->Server);
    round->Server->bind(round->Listener);
    current = round;

    const QHostAddress address = localaddress();
    const QString url = "http://" + address.toString() + ":" + QString::number(port) + "/" +
                        QString::fromLatin1(round->Code) + "/";
    debuglog("phoneinvitation: Phones join at " + url.toStdString());

    auto* window = new QDialog;
    window->setWindowTitle("Mit Telefonen spielen");
    auto* layout = new QVBoxLayout(window);
    layout->addWidget(new QLabel("Öffnen Sie diese Adresse im Browser Ihres Telefons\n"
                                 "oder richten Sie die Kamera auf den Code:"));
    auto* picture = new QLabel;
    picture->setPixmap(qrcode(url.toUtf8()));
    picture->setAlignment(Qt::AlignCenter);
    layout->addWidget(picture);
    auto* text = new QLabel(url);
    QFont font = text->font();
    font.setPointSize(font.pointSize() * 3 / 2);
    font.setBold(true);
    text->setFont(font);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    text->setAlignment(Qt::AlignCenter);
    layout->addWidget(text);
    if (address.isLoopback())
        layout->addWidget(new QLabel("Dieser Computer ist mit keinem Netz verbunden:\n"
                                     "Telefone können diese Adresse nicht erreichen."));
    round->Count = new QLabel("Per Telefon beantwortet: 0");
    layout->addWidget(round->Count);
    round->Window = window;
    QObject::connect(window, &QDialog::finished, [] { stopround(); });
    window->show();
}

} // namespace

QMenu* makegamemenu() {
    auto* menu = new QMenu("Spiel");
    QAction* phones = menu->addAction("Mit Telefonen spielen…");
    phones->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_T));
    QObject::connect(phones, &QAction::triggered, [] { openinvitation(); });
    t_PhoneSetStopHandler([] { stopround(); });
    return menu;
}
