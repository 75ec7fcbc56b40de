INSERT INTO articles VALUES(700100, 31100, 'en-us', 'I forgot my password',
'["password", "sign-in", "reset"]',
'<h2>Set a new password by e-mail</h2>
<p>Nobody, not even our support team, can see the password you have forgotten. What you can do is
set a new one, as long as you can still read the e-mail address of your account.</p>
<ol>
<li>On the sign-in page, choose <strong>Forgot your password?</strong></li>
<li>Enter the e-mail address of your account.</li>
<li>Open the message that we send you and follow the link in it. The link works for one hour.</li>
<li>Choose a new password of at least twelve characters.</li>
</ol>
<p>You are signed in at once, and every other device is signed out. If no message arrives within
ten minutes, look into the folder for unwanted mail, and check that you typed the address you
signed up with.</p>
<p>Are you locked out because the address itself is gone? Then
<a href="https://help.example/contact">write to us</a> and have a recent invoice at hand: with its
number we can find out that the account is yours.</p>');

INSERT INTO articles VALUES(700101, 31101, 'en-us', 'Change your password',
'["password", "security"]',
'<h2>Choose a new password while you are signed in</h2>
<p>It is a good idea to change your password when somebody else may have seen it, or when you have
used the same one elsewhere. You need the current password to do so.</p>
<ol>
<li>Open <strong>Settings</strong> and choose <strong>Security</strong>.</li>
<li>Choose <strong>Change password</strong> and enter the current one.</li>
<li>Enter the new password twice, then save.</li>
</ol>
<p>A password has at least twelve characters. Several words that have nothing to do with each other
are easier to remember, and harder to guess, than a short one full of symbols. A password manager
can make one up and keep it for you.</p>
<p>After the change, your other devices ask for the new password the next time that you use them.
Connected services keep their own access; you can take it away on the same page, under
<em>Connected services</em>.</p>');

INSERT INTO articles VALUES(700102, 31102, 'en-us', 'Turn on two-step sign-in',
'["security", "sign-in", "codes", "2fa"]',
'<h2>A second step protects your account</h2>
<p>With two-step sign-in, a thief who knows your password still cannot get in: a six-digit code from
your phone is asked for as well, whenever you sign in on a new device.</p>
<ol>
<li>Install an authenticator app on your phone.</li>
<li>Open <strong>Settings</strong>, <strong>Security</strong>, <strong>Two-step sign-in</strong>.</li>
<li>Scan the picture with the authenticator and enter the code that it shows.</li>
<li>Print the ten recovery codes, or write them down.</li>
</ol>
<p>Keep the recovery codes away from the phone. Each of them works once, in place of a code from the
authenticator, for the day on which the phone is lost or broken.</p>
<p>To move to a new phone, turn the second step off and on again while you still have the old one.
Without the old phone and without any recovery code, our team has to verify who you are, which
takes up to five working days.</p>');

INSERT INTO articles VALUES(700103, 31103, 'en-us', 'Find and download invoices',
'["billing", "invoices", "receipts"]',
'<h2>Where your invoices are</h2>
<p>An invoice is made on the day of each payment. You find all of them, for the last ten years, in
your account; we also send the latest one by e-mail if you wish.</p>
<ol>
<li>Open <strong>Settings</strong> and choose <strong>Billing</strong>.</li>
<li>Under <strong>Invoices</strong>, pick a year.</li>
<li>Choose <strong>Download</strong> beside the one that you need. You get a PDF file.</li>
</ol>
<p>Is the name or the tax number on it wrong? Correct your billing details first, then choose
<strong>Make out again</strong>. The old document is marked as replaced, and a corrected one takes
its place. This is possible for ninety days.</p>
<p>Your accountant can receive every new receipt directly: add the address under
<em>Send copies to</em>. This gives no access to anything else in the account.</p>');

INSERT INTO articles VALUES(700104, 31104, 'en-us', 'Track a delivery',
'["orders", "delivery", "shipping"]',
'<h2>See where your parcel is</h2>
<p>Orders leave our warehouse within two working days. As soon as the carrier has collected the
parcel, we send you a message with a tracking number.</p>
<ul>
<li>Open <strong>Orders</strong>, choose the order, then <strong>Track the parcel</strong>.</li>
<li>In the same place you can name a neighbour or a parcel shop, until the morning of delivery.</li>
<li>Large goods come by a haulier, who calls you to agree on a day.</li>
</ul>
<p>Has the parcel not moved for five working days, or is it said to be delivered although nothing
has arrived? First ask at home and next door. Then choose <strong>Report a missing
parcel</strong> on the page of the order. We ask the carrier to search for it, and after seven days
at the latest we send the goods again or return what you paid.</p>
<p>Was the box damaged? Take a photograph before you open it.</p>');

INSERT INTO articles VALUES(700105, 31105, 'en-us', 'Cancel your subscription',
'["subscription", "billing", "cancel"]',
'<h2>End a subscription</h2>
<p>You may cancel at any time, without giving a reason. The subscription then runs until the end of
the period that is already paid, and is not renewed.</p>
<ol>
<li>Open <strong>Settings</strong> and choose <strong>Subscription</strong>.</li>
<li>Choose <strong>Cancel subscription</strong> and confirm.</li>
<li>Wait for the confirmation by e-mail, and keep it.</li>
</ol>
<p>Until the last day everything works as before. Afterwards your account stays, with the functions
that are free of charge, and nothing that you stored is lost. If you change your mind, choose
<strong>Resume</strong> on the same page before the period ends.</p>
<p>Subscriptions that were bought in the store of a phone or tablet can only be cancelled there.
Removing the app, or ceasing to use it, does not end a subscription.</p>');

INSERT INTO articles VALUES(700106, 31106, 'en-us', 'Ask for a refund',
'["billing", "refund", "returns"]',
'<h2>Get your money back</h2>
<p>Within thirty days of a purchase we return what you paid, if the goods come back to us unused or
if a service did not do what was promised.</p>
<ol>
<li>Open <strong>Orders</strong> and choose the purchase.</li>
<li>Choose <strong>Ask for a refund</strong> and say in a few words what was wrong.</li>
<li>For goods, print the label and bring the parcel to any shop of the carrier.</li>
</ol>
<p>We look at every request within two working days. The money goes the way it came: to a card
within five to ten days, to a bank account within three. We cannot pay out in cash or to somebody
else''s account.</p>
<p>Was the same amount charged twice? One of the two is often only a reservation by your bank, which
disappears after a week. If both remain, tell us the two dates and we put it right.</p>');

INSERT INTO articles VALUES(700107, 31107, 'en-us', 'Change the e-mail address of your account',
'["account", "email", "profile"]',
'<h2>Use another address</h2>
<p>Your e-mail address is the name under which you sign in, and the place to which we send messages
about safety. Keep it up to date, above all before you lose an address at work or at school.</p>
<ol>
<li>Open <strong>Settings</strong> and choose <strong>Profile</strong>.</li>
<li>Choose <strong>Edit</strong> beside the e-mail address and enter the new one.</li>
<li>Open the message that we send to the new address, and follow its link within a day.</li>
</ol>
<p>Until you follow the link, the old address stays in use. We also tell the old one about the
change; whoever reads mail there can undo it for seven days. That protects you from somebody who has
found your device unlocked.</p>
<p>If an address is said to be taken, there is another account under it. Delete that account first,
or choose a different address.</p>');

INSERT INTO articles VALUES(700108, 31108, 'en-us', 'Delete your account',
'["account", "privacy", "delete"]',
'<h2>Close an account for good</h2>
<p>When you delete your account, your profile, your files and your history are removed. This cannot
be undone, and we cannot bring anything back for you afterwards.</p>
<ul>
<li>Cancel a running subscription first, or it goes on to its end without you.</li>
<li><a href="https://help.example/export">Export</a> what you would like to keep.</li>
<li>Hand shared projects over to somebody else.</li>
</ul>
<p>Then open <strong>Settings</strong>, <strong>Privacy</strong>, and choose <strong>Delete
account</strong>. We send a link for you to confirm it. For fourteen days the account only sleeps:
signing in wakes it up again. After that it is erased.</p>
<p>The law obliges us to keep invoices for ten years. They are stored apart, and nobody uses them for
anything else.</p>');

INSERT INTO articles VALUES(700109, 31109, 'en-us', 'Export your data',
'["privacy", "export", "backup"]',
'<h2>Take a copy with you</h2>
<p>Everything that you have entered belongs to you, and you can have a copy of it at any time, free
of charge.</p>
<ol>
<li>Open <strong>Settings</strong> and choose <strong>Privacy</strong>.</li>
<li>Choose <strong>Export data</strong> and tick what you need: files, messages, history, profile.</li>
<li>Wait for our message. A large archive can take a day to prepare.</li>
<li>Download the archive within seven days.</li>
</ol>
<p>The archive is a ZIP file. Tables come as CSV, which any spreadsheet opens; everything else comes
as it was uploaded. A file called <em>contents.html</em> shows what is where.</p>
<p>An export holds private things. Store it where nobody else can read it, and remove it from a
borrowed computer. Sharing the link does not help anyone: it asks for your sign-in.</p>');

INSERT INTO articles VALUES(700110, 31110, 'en-us', 'Choose which notifications you receive',
'["notifications", "e-mail", "mobile"]',
'<h2>Fewer messages, or none</h2>
<p>We only notify you of what you have asked for, with one exception: messages about the safety of
your account always reach you.</p>
<ul>
<li><strong>On the phone:</strong> open the app, then <strong>Settings</strong>,
<strong>Notifications</strong>, and switch each kind on or off.</li>
<li><strong>By e-mail:</strong> on the same page, pick at once, a daily summary, or never. Each
newsletter also has a link to unsubscribe at its end.</li>
<li><strong>Quiet hours:</strong> name the hours of the night in which nothing rings.</li>
</ul>
<p>Do you get no notifications although they are switched on? Then the phone itself may be holding
them back. Look into its own settings, allow the app to notify you, and take it out of the battery
saver. If they come hours late, the cause is nearly always that saver.</p>');

INSERT INTO articles VALUES(700111, 31111, 'en-us', 'Contact our support team',
'["contact", "support"]',
'<h2>Talk to a person</h2>
<p>If no article answers your question, we are glad to do so. Three ways lead to us:</p>
<ul>
<li><strong>Chat:</strong> choose the speech bubble at the bottom of any page, from Monday to Friday
between eight and eighteen o''clock.</li>
<li><strong>Form:</strong> <a href="https://help.example/contact">write to us</a> at any hour; we
answer within one working day.</li>
<li><strong>Telephone:</strong> the number is printed on every letter from us. Have your customer
number ready.</li>
</ul>
<p>It goes faster when you tell us what you did, what you expected and what happened in its place. A
picture of the screen often says more than a long text. Please never send a password: no one in
our team ever asks for it, and somebody who does is not one of us.</p>');

-- Words that say nothing of what a question is about.
INSERT INTO stop_words SELECT 'en-us', value FROM json_each('[
"a", "about", "after", "again", "all", "am", "an", "and", "any", "are", "as", "at", "back", "be",
"been", "but", "by", "can", "cannot", "could", "did", "do", "does", "don", "for", "from", "get",
"got", "had", "has", "have", "hello", "help", "here", "hi", "how", "i", "if", "in", "into", "is",
"it", "just", "know", "like", "ll", "may", "me", "my", "need", "no", "not", "now", "of", "on",
"or", "our", "out", "please", "should", "so", "some", "tell", "thank", "thanks", "that", "the",
"their", "them", "then", "there", "they", "this", "to", "too", "up", "us", "ve", "very", "want",
"was", "we", "what", "when", "where", "which", "who", "why", "will", "with", "without", "would",
"you", "your"
]');
