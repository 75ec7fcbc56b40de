INSERT INTO articles VALUES(700200, 31200, 'de', 'Passwort vergessen',
'["Passwort", "Anmeldung", "zurücksetzen"]',
'<h2>Ein neues Passwort per E-Mail festlegen</h2>
<p>Ein vergessenes Passwort kann niemand sehen, auch unser Kundendienst nicht. Sie können aber ein
neues festlegen, solange Sie die E-Mails Ihres Kontos noch lesen können.</p>
<ol>
<li>Wählen Sie auf der Anmeldeseite <strong>Passwort vergessen?</strong></li>
<li>Geben Sie die E-Mail-Adresse Ihres Kontos ein.</li>
<li>Öffnen Sie unsere Nachricht und folgen Sie dem Link darin. Er gilt eine Stunde lang.</li>
<li>Wählen Sie ein neues Passwort mit mindestens zwölf Zeichen.</li>
</ol>
<p>Danach sind Sie sofort angemeldet; alle anderen Geräte werden abgemeldet. Kommt innerhalb von
zehn Minuten keine Nachricht an, sehen Sie bitte im Ordner für unerwünschte Post nach.</p>
<p>Haben Sie auch auf die Adresse keinen Zugriff mehr? Dann
<a href="https://help.example/kontakt">schreiben Sie uns</a> und halten Sie eine Rechnung bereit, mit
deren Nummer wir das Konto zuordnen können.</p>');

INSERT INTO articles VALUES(700201, 31201, 'de', 'Passwort ändern',
'["Passwort", "Sicherheit"]',
'<h2>Ein anderes Passwort wählen</h2>
<p>Ändern Sie Ihr Passwort, wenn es jemand gesehen haben könnte oder wenn Sie es auch an anderer
Stelle benutzen. Dazu brauchen Sie das bisherige.</p>
<ol>
<li>Öffnen Sie <strong>Einstellungen</strong> und dann <strong>Sicherheit</strong>.</li>
<li>Wählen Sie <strong>Passwort ändern</strong> und geben Sie das bisherige ein.</li>
<li>Geben Sie das neue zweimal ein und speichern Sie.</li>
</ol>
<p>Ein Passwort hat mindestens zwölf Zeichen. Mehrere Wörter, die nichts miteinander zu tun haben,
lassen sich besser merken und schwerer erraten als ein kurzes voller Sonderzeichen. Ein
Passwortverwalter kann sich eines ausdenken und für Sie aufbewahren.</p>
<p>Nach der Änderung fragen Ihre anderen Geräte beim nächsten Mal nach dem neuen Passwort.
Verbundene Dienste behalten ihren Zugriff; auf derselben Seite können Sie ihn entziehen.</p>');

INSERT INTO articles VALUES(700202, 31202, 'de', 'Anmeldung in zwei Schritten einschalten',
'["Sicherheit", "Anmeldung", "Codes", "2FA"]',
'<h2>Ein zweiter Schritt schützt Ihr Konto</h2>
<p>Wer nur Ihr Passwort kennt, kommt damit nicht hinein: Auf einem neuen Gerät wird zusätzlich ein
sechsstelliger Code von Ihrem Telefon verlangt.</p>
<ol>
<li>Installieren Sie eine Authentifizierungs-App auf Ihrem Telefon.</li>
<li>Öffnen Sie <strong>Einstellungen</strong>, <strong>Sicherheit</strong>, <strong>Anmeldung in zwei
Schritten</strong>.</li>
<li>Scannen Sie das Bild und geben Sie den angezeigten Code ein.</li>
<li>Drucken Sie die zehn Notfallcodes aus.</li>
</ol>
<p>Bewahren Sie die Notfallcodes getrennt vom Telefon auf. Jeder gilt einmal und ersetzt den Code der
App, falls das Telefon verloren oder kaputt ist.</p>
<p>Beim Wechsel auf ein neues Telefon schalten Sie den zweiten Schritt aus und wieder ein, solange Sie
das alte noch haben. Ohne Telefon und ohne Notfallcodes müssen wir Ihre Identität prüfen; das dauert
bis zu fünf Werktage.</p>');

INSERT INTO articles VALUES(700203, 31203, 'de', 'Rechnungen ansehen und herunterladen',
'["Rechnungen", "Zahlung", "Belege"]',
'<h2>Wo Ihre Rechnungen liegen</h2>
<p>Zu jeder Zahlung entsteht am selben Tag eine Rechnung. In Ihrem Konto finden Sie alle aus den
letzten zehn Jahren.</p>
<ol>
<li>Öffnen Sie <strong>Einstellungen</strong> und dann <strong>Zahlung</strong>.</li>
<li>Wählen Sie unter <strong>Rechnungen</strong> ein Jahr.</li>
<li>Wählen Sie neben der gesuchten <strong>Herunterladen</strong>. Sie erhalten eine PDF-Datei.</li>
</ol>
<p>Stimmt der Name oder die Steuernummer nicht? Berichtigen Sie zuerst Ihre Angaben, und wählen Sie
dann <strong>Neu ausstellen</strong>. Der alte Beleg wird als ersetzt gekennzeichnet. Das ist
neunzig Tage lang möglich.</p>
<p>Ihr Steuerberater kann jeden neuen Beleg direkt erhalten: Tragen Sie seine Adresse unter
<em>Kopien senden an</em> ein. Zugriff auf Ihr Konto bekommt er dadurch nicht.</p>');

INSERT INTO articles VALUES(700204, 31204, 'de', 'Lieferung verfolgen',
'["Bestellung", "Lieferung", "Versand"]',
'<h2>Wo ist mein Paket?</h2>
<p>Bestellungen verlassen unser Lager innerhalb von zwei Werktagen. Sobald der Paketdienst die
Sendung abgeholt hat, schicken wir Ihnen die Sendungsnummer.</p>
<ul>
<li>Öffnen Sie <strong>Bestellungen</strong>, wählen Sie die Bestellung und dann <strong>Paket
verfolgen</strong>.</li>
<li>Dort können Sie bis zum Morgen der Zustellung auch einen Nachbarn oder einen Paketladen
angeben.</li>
<li>Große Waren bringt eine Spedition, die vorher bei Ihnen anruft.</li>
</ul>
<p>Bewegt sich das Paket seit fünf Werktagen nicht, oder gilt es als geliefert, ohne dass etwas
angekommen ist? Fragen Sie zuerst zu Hause und nebenan. Wählen Sie dann <strong>Fehlendes Paket
melden</strong>. Wir lassen danach suchen und schicken die Ware spätestens nach sieben Tagen noch
einmal.</p>
<p>War der Karton beschädigt? Fotografieren Sie ihn vor dem Öffnen.</p>');

INSERT INTO articles VALUES(700205, 31205, 'de', 'Abonnement kündigen',
'["Abonnement", "Abo", "Kündigung"]',
'<h2>Ein Abo beenden</h2>
<p>Sie können jederzeit und ohne Angabe von Gründen kündigen. Das Abonnement läuft dann bis zum Ende
des bezahlten Zeitraums und verlängert sich nicht mehr.</p>
<ol>
<li>Öffnen Sie <strong>Einstellungen</strong> und dann <strong>Abonnement</strong>.</li>
<li>Wählen Sie <strong>Abonnement kündigen</strong> und bestätigen Sie.</li>
<li>Bewahren Sie die Bestätigung auf, die wir Ihnen schicken.</li>
</ol>
<p>Bis zum letzten Tag bleibt alles, wie es ist. Danach besteht Ihr Konto mit den kostenlosen
Funktionen weiter, und nichts Gespeichertes geht verloren. Überlegen Sie es sich anders, wählen Sie
vor dem Ende auf derselben Seite <strong>Fortsetzen</strong>.</p>
<p>Ein Abo, das im Laden eines Telefons oder Tablets gekauft wurde, lässt sich nur dort kündigen. Wer
nur die App entfernt, hat noch nicht gekündigt.</p>');

INSERT INTO articles VALUES(700206, 31206, 'de', 'Geld zurückerhalten',
'["Erstattung", "Rückgabe", "Zahlung"]',
'<h2>Eine Erstattung beantragen</h2>
<p>Innerhalb von dreißig Tagen nach dem Kauf erstatten wir den Preis, wenn die Ware unbenutzt
zurückkommt oder ein Dienst nicht hielt, was versprochen war.</p>
<ol>
<li>Öffnen Sie <strong>Bestellungen</strong> und wählen Sie den Kauf.</li>
<li>Wählen Sie <strong>Erstattung beantragen</strong> und beschreiben Sie kurz den Grund.</li>
<li>Drucken Sie für Waren das Etikett aus und geben Sie das Paket in einem Paketladen ab.</li>
</ol>
<p>Jeden Antrag prüfen wir innerhalb von zwei Werktagen. Das Geld kommt auf demselben Weg zurück: auf
eine Karte in fünf bis zehn Tagen, auf ein Bankkonto in drei.</p>
<p>Wurde derselbe Betrag doppelt abgebucht? Oft ist einer von beiden nur eine Vormerkung Ihrer Bank,
die nach einer Woche verschwindet. Bleiben beide stehen, nennen Sie uns bitte die beiden Tage.</p>');

INSERT INTO articles VALUES(700207, 31207, 'de', 'E-Mail-Adresse des Kontos ändern',
'["Konto", "Email", "Profil"]',
'<h2>Eine andere Adresse verwenden</h2>
<p>Mit Ihrer E-Mail-Adresse melden Sie sich an, und an sie gehen Nachrichten zur Sicherheit. Halten
Sie sie aktuell, vor allem bevor Sie eine Adresse in Beruf oder Schule verlieren.</p>
<ol>
<li>Öffnen Sie <strong>Einstellungen</strong> und dann <strong>Profil</strong>.</li>
<li>Wählen Sie neben der Adresse <strong>Bearbeiten</strong> und geben Sie die neue ein.</li>
<li>Folgen Sie innerhalb eines Tages dem Link, den wir an die neue Adresse schicken.</li>
</ol>
<p>Bis dahin gilt die bisherige weiter. Auch an sie schicken wir einen Hinweis, mit dem sich der
Wechsel sieben Tage lang rückgängig machen lässt. Das schützt Sie, falls jemand Ihr Gerät unversperrt
gefunden hat.</p>
<p>Ist eine Adresse angeblich vergeben, so gehört sie zu einem anderen Konto. Löschen Sie zuerst
dieses.</p>');

INSERT INTO articles VALUES(700208, 31208, 'de', 'Konto löschen',
'["Konto", "Datenschutz", "löschen"]',
'<h2>Ein Konto endgültig schließen</h2>
<p>Wenn Sie Ihr Konto löschen, werden Profil, Dateien und Verlauf entfernt. Das lässt sich nicht
rückgängig machen. Denken Sie vorher an Folgendes:</p>
<ul>
<li>Kündigen Sie ein laufendes Abonnement.</li>
<li>Laden Sie unter <strong>Datenschutz</strong>, <strong>Daten exportieren</strong> eine Kopie Ihrer
Daten herunter, wenn Sie etwas behalten möchten.</li>
<li>Übergeben Sie gemeinsame Projekte an jemand anderen.</li>
</ul>
<p>Öffnen Sie dann <strong>Einstellungen</strong>, <strong>Datenschutz</strong>, und wählen Sie
<strong>Konto löschen</strong>. Wir schicken Ihnen einen Link zur Bestätigung. Vierzehn Tage lang ruht
das Konto nur: Eine Anmeldung weckt es wieder auf. Danach ist es gelöscht.</p>
<p>Belege müssen wir nach dem Gesetz zehn Jahre lang aufbewahren. Sie liegen getrennt und werden für
nichts anderes verwendet.</p>');

INSERT INTO articles VALUES(700209, 31209, 'de', 'Den Kundendienst erreichen',
'["Kontakt", "Kundendienst", "Hilfe"]',
'<h2>Mit einem Menschen sprechen</h2>
<p>Beantwortet kein Artikel Ihre Frage, tun wir es gern. Drei Wege führen zu uns:</p>
<ul>
<li><strong>Chat:</strong> Wählen Sie unten auf jeder Seite die Sprechblase, montags bis freitags von
acht bis achtzehn Uhr.</li>
<li><strong>Formular:</strong> <a href="https://help.example/kontakt">Schreiben Sie uns</a> rund um
die Uhr; wir antworten innerhalb eines Werktags.</li>
<li><strong>Telefon:</strong> Die Nummer steht auf jedem Brief von uns. Halten Sie bitte Ihre
Kundennummer bereit, wenn Sie anrufen.</li>
</ul>
<p>Schneller geht es, wenn Sie uns sagen, was Sie getan haben, was Sie erwartet haben und was
stattdessen geschah. Ein Bild des Bildschirms sagt oft mehr als ein langer Text. Schicken Sie uns nie
ein Passwort: Niemand von uns fragt danach.</p>');

-- Words that say nothing of what a question is about.
INSERT INTO stop_words SELECT 'de', value FROM json_each('[
"aber", "alle", "als", "am", "an", "auch", "auf", "aus", "bei", "beim", "bin", "bitte", "bist",
"da", "danke", "das", "dass", "dem", "den", "der", "des", "die", "dir", "doch", "du", "ein",
"eine", "einem", "einen", "einer", "es", "euch", "euer", "für", "gibt", "habe", "haben", "hallo",
"hat", "ich", "ihr", "ihre", "im", "in", "ist", "kann", "kein", "keine", "keinen", "können",
"machen", "man", "mein", "meine", "meinem", "meinen", "meiner", "mich", "mir", "mit", "muss",
"möchte", "nach", "nicht", "noch", "nun", "nur", "oder", "ohne", "schon", "sehr", "sein", "sich",
"sie", "sind", "so", "soll", "und", "uns", "unser", "vom", "von", "wann", "warum", "was", "wegen",
"welche", "wenn", "wer", "werden", "wie", "will", "wir", "wird", "wo", "zu", "zum", "zur", "über"
]');
