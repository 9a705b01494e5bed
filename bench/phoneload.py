#!/usr/bin/python3
# Load for bench/keylatency.sh --phones: waves of 50 phones posting the form at once to the program's
# server on 127.0.0.1, each a new participant, until told to stop (or 60 s, or 40 waves, have passed).
#
#   phoneload.py PORT CODE
import http.client, sys, threading, time

port, code = int(sys.argv[1]), sys.argv[2]
answers = ("&jahr=1990&monat=1&tag=1&geschlecht=1&religion=2&nationalitaet=3&groesse=170&gewicht=60&stand=2"
           "&einkommen=3&farbe=4&verheiratet=1&religion_gleich=0&anderes_geschlecht=1"
           + "".join(f"&aussage{i}={i % 5 + 1}" for i in range(1, 39)))


def phone(wave, n):
    body = f"vorname=Last&nachname=W{wave}N{n}" + answers
    try:
        c = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
        c.request("POST", f"/{code}/", body, {"Content-Type": "application/x-www-form-urlencoded"})
        c.getresponse().read()
        c.close()
    except OSError:
        pass


start, wave = time.time(), 0
while wave < 40 and time.time() - start < 60:
    phones = [threading.Thread(target=phone, args=(wave, n)) for n in range(50)]
    for t in phones:
        t.start()
    for t in phones:
        t.join()
    wave += 1
print(f"phoneload: {wave} waves of 50 phones", file=sys.stderr)
