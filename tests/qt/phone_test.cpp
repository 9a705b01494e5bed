// Phones answering through the real program's server on 127.0.0.1: a posted form leaves the file the
// keyboard would, every refusal leaves it alone, and fifty phones at once while the keyboard types are
// all stored once. Every request goes to the loopback address only.
#include "harness.h"
#include "store/store.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;

const std::string statements = "12345123451234512345123451234512345123";
const std::string juergenAttribute = "19810703011178062234" + statements + "100";

int connectloopback(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
    close(fd);
    return -1;
}

// Everything the server sends until it closes, or until the limit.
std::string readall(int fd, int limitMs = 5000) {
    std::string out;
    char buffer[4096];
    for (pollfd p{fd, POLLIN, 0}; poll(&p, 1, limitMs) > 0;) {
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        out.append(buffer, static_cast<size_t>(n));
    }
    close(fd);
    return out;
}

std::string roundtrip(int port, const std::string& request) {
    const int fd = connectloopback(port);
    if (fd < 0) return "refused";
    if (write(fd, request.data(), request.size()) < 0) return "reset";
    return readall(fd);
}

std::string get(const std::string& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
}

std::string post(const std::string& code, const std::string& body) {
    return "POST /" + code +
           "/ HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/x-www-form-urlencoded\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

int status(const std::string& response) {
    return response.rfind("HTTP/1.1 ", 0) == 0 ? std::stoi(response.substr(9, 3)) : 0;
}

std::string form(const std::string& first, const std::string& last, const std::string& year = "1981") {
    std::string body = "vorname=" + first + "&nachname=" + last + "&jahr=" + year +
                       "&monat=7&tag=3&geschlecht=0&religion=1&nationalitaet=1&groesse=178&gewicht=62&stand=2"
                       "&einkommen=3&farbe=4&verheiratet=1&religion_gleich=0&anderes_geschlecht=0";
    for (size_t i = 0; i < statements.size(); ++i)
        body += "&aussage" + std::to_string(i + 1) + "=" + statements[i];
    return body;
}

// The invitation opened through its menu item; the port and join code from its log line.
struct Invitation {
    int port = 0;
    std::string code;
    explicit Invitation(harness::Game& game) {
        char text[64] = "";
        game.ask("phone");
        EXPECT_TRUE(game.logshows("phoneinvitation: Phones join at http://")) << game.log();
        const std::string log = game.log();
        std::sscanf(log.c_str() + std::min(log.find("Phones join"), log.size()),
                    "Phones join at http://%*[^:]:%d/%63[^/]", &port, text);
        code = text;
    }
};

TEST(Phone, APostedFormIsStoredAsTypedAndEveryRefusalStoresNothing) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();
    EXPECT_EQ(game.log().find("Phones join"), std::string::npos);
    const Invitation phones(game);
    ASSERT_GT(phones.port, 0);
    // A client that never finishes its request, and one connection too many beside 63 idle ones.
    const int slow = connectloopback(phones.port);
    ASSERT_EQ(write(slow, "GET /", 5), 5);
    const auto slowSince = std::chrono::steady_clock::now();
    std::vector<int> idle;
    for (int i = 0; i < 63; ++i) idle.push_back(connectloopback(phones.port));
    EXPECT_EQ(readall(connectloopback(phones.port), 2000), "");
    for (int fd : idle) close(fd);
    // The server counts them gone once it has seen them close.
    std::this_thread::sleep_for(300ms);

    EXPECT_NE(roundtrip(phones.port, get("/" + phones.code + "/")).find("name=\"aussage38\""),
              std::string::npos);
    // The keyboard participant has typed a name and stands at the birth year.
    ASSERT_TRUE(game.type("\r\rKarl\rMuster\r"));
    std::string reply = roundtrip(phones.port, post(phones.code, form("J%C3%BCrgen", "Wei%C3%9F")));
    EXPECT_EQ(status(reply), 200);
    EXPECT_NE(reply.find("Danke, Jürgen Weiß! Ihre Antworten sind gespeichert."), std::string::npos) << reply;
    const std::string stored = harness::dumpof({{"Jürgen Weiß", juergenAttribute}});
    EXPECT_EQ(bundle.readdata(), stored);

    const struct {
        std::string request;
        int status;
        const char* says;
    } refusals[] = {
        {get("/abcdefgh/"), 404, ""},
        {get("/"), 404, ""},
        {post("abcdefgh", form("Eva", "Wrong")), 404, ""},
        {"POST /" + phones.code + "/ HTTP/1.1\r\nContent-Length: 20000\r\n\r\n", 413, ""},
        {post(phones.code, form("Eva", "Early", "1899")), 400, "Bitte eine Zahl von 1900 bis 2100."},
        {post(phones.code, form("Eva", "Ctrl%01")), 400, "Bitte keine Steuerzeichen."},
        {post(phones.code, form("J%C3%BCrgen", "Wei%C3%9F")), 200,
         "Ihre Antworten sind bereits gespeichert."},
        {post(phones.code, form("j%C3%BCrgen", "wei%C3%9F", "1990")), 409,
         "Ihr Name ist bereits gespeichert."},
        {post(phones.code, form("karl", "muster")), 409,
         "Dieser Name wird gerade an der Tastatur eingegeben."},
    };
    for (const auto& r : refusals) {
        reply = roundtrip(phones.port, r.request);
        EXPECT_EQ(status(reply), r.status) << r.request;
        EXPECT_TRUE(r.status != 404 || reply.ends_with("Content-Length: 0\r\nConnection: close\r\n\r\n"))
            << reply;
        EXPECT_NE(reply.find(r.says), std::string::npos) << reply;
        EXPECT_EQ(bundle.readdata(), stored) << r.request;
    }
    EXPECT_NE(
        game.ask("text 10").find(QByteArray("Per Telefon gespeichert: Jürgen Weiß").toHex().toStdString()),
        std::string::npos);

    // Fifty phones at once while the keyboard participant types: each is thanked and stored once.
    std::vector<int> sockets;
    for (int i = 0; i < 50; ++i) sockets.push_back(connectloopback(phones.port));
    for (int i = 0; i < 50; ++i) {
        const std::string request = post(phones.code, form("Gast", "Nummer" + std::to_string(i)));
        ASSERT_EQ(write(sockets[i], request.data(), request.size()), static_cast<ssize_t>(request.size()));
    }
    int thanked = 0;
    for (int fd : sockets)
        thanked += readall(fd, 10000).find("Ihre Antworten sind gespeichert.") != std::string::npos;
    EXPECT_EQ(thanked, 50);

    // The keyboard participant finishes and is stored last, as typed; the file loads back to its bytes.
    ASSERT_TRUE(game.type("1970\r1\r1\r011170\r70\r111" + std::string(38, '3') + "000n"));
    const std::string file = bundle.readdata();
    testsupport::participants({});
    ASSERT_TRUE(d_CreateDatabaseFromBinary(std::vector<uint8_t>(file.begin(), file.end()), true));
    EXPECT_EQ(d_DumpDatabase(true, true, false), file);
    std::set<std::string> names;
    for (Int r = 1; r <= d_RecordsInTable(ParticipantTable); ++r)
        names.insert(d_GetData(ParticipantTable, r, 0));
    EXPECT_EQ(std::tuple(names.size(), d_RecordsInTable(ParticipantTable)), std::tuple(52u, Int{52}));
    EXPECT_EQ(d_GetData(ParticipantTable, 52, 0) + " " + d_GetData(ParticipantTable, 52, 1),
              "Karl Muster 19700101011170070111" + std::string(38, '3') + "000");

    // The slow client has been dropped after its 10 seconds.
    EXPECT_EQ(readall(slow, 12000), "");
    EXPECT_GE(std::chrono::steady_clock::now() - slowSince, 9s);

    // Twenty wrong codes: then even the right one is refused, and nothing is stored.
    for (int i = 0; i < 20; ++i) roundtrip(phones.port, get("/wrong" + std::to_string(i) + "/"));
    EXPECT_EQ(status(roundtrip(phones.port, post(phones.code, form("Eva", "Later")))), 0);
    EXPECT_EQ(bundle.readdata(), file);

    // The evaluation closes the door.
    game.escape();
    EXPECT_TRUE(game.logshows("phoneinvitation: Stopped listening.")) << game.log();
    EXPECT_EQ(roundtrip(phones.port, get("/" + phones.code + "/")), "refused");
}

} // namespace
