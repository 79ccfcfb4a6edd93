// Bare host names as people type them, and what only looks like them. Every entry of the tables is told apart here.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Text/LinkDetector.h"
#include "PelloraMessagesCore/Text/LinkHost.h"

namespace pellora {
namespace {

bool holdsLink(const std::string& text) {
  return LinkDetector().containsLink(text);
}

TEST(LinkWords, TheDomainsAreThese) {
  for (const std::string domain : {"com",
                                   "net",
                                   "org",
                                   "edu",
                                   "gov",
                                   "mil",
                                   "int",
                                   "info",
                                   "biz",
                                   "au",
                                   "br",
                                   "ca",
                                   "ch",
                                   "cz",
                                   "de",
                                   "dk",
                                   "es",
                                   "eu",
                                   "fi",
                                   "fr",
                                   "gr",
                                   "hu",
                                   "io",
                                   "jp",
                                   "kr",
                                   "mx",
                                   "nl",
                                   "nz",
                                   "pl",
                                   "pt",
                                   "ro",
                                   "ru",
                                   "se",
                                   "sk",
                                   "ua",
                                   "uk",
                                   "\u0440\u0444",
                                   "\u0443\u043A\u0440",
                                   "\u0431\u0435\u043B",
                                   "\u0441\u0440\u0431",
                                   "\u0431\u0433",
                                   "\u03B5\u03BB"})
    EXPECT_TRUE(holdsLink("see example." + domain + " now")) << domain;
  // Words, words of chat, and domains that nobody types without a path.
  for (const std::string domain :
       {"in",   "it",  "no",     "at",   "be",   "me",    "so",  "to",  "us",  "is", "am", "my", "do",
        "id",   "im",  "la",     "ma",   "pm",   "tv",    "la",  "tc",  "cl",  "bt", "lk", "cn", "sg",
        "hk",   "ph",  "lv",     "ie",   "th",   "vn",    "tk",  "gd",  "gt",  "bb", "ws", "cc", "onion",
        "hsbc", "app", "online", "shop", "live", "today", "day", "zip", "mov", "md", "rs", "sh", "py"})
    EXPECT_FALSE(holdsLink("see example." + domain + " now")) << domain;
}

TEST(LinkWords, EveryKnownDomainCountsWithWwwAPathOrAPort) {
  for (const std::string domain : {"in", "it", "tc", "lk", "app", "online", "zip"}) {
    EXPECT_TRUE(holdsLink("www.example." + domain)) << domain;
    EXPECT_TRUE(holdsLink("example." + domain + "/a")) << domain;
    EXPECT_TRUE(holdsLink("example." + domain + ":8080")) << domain;
    EXPECT_TRUE(holdsLink("http://example." + domain)) << domain;
    EXPECT_TRUE(holdsLink("joe@example." + domain)) << domain;
  }
}

TEST(LinkWords, SharedSecondLevelsCountUnderEveryCountry) {
  for (const std::string level : {"ac", "co", "com", "edu", "gov", "net", "org"}) {
    EXPECT_TRUE(holdsLink("example." + level + ".in")) << level;
    EXPECT_FALSE(holdsLink("ok " + level + ".in")) << level;
  }
  EXPECT_FALSE(holdsLink("example.lah.in"));
  EXPECT_FALSE(holdsLink("example.com.today"));
}

TEST(LinkWords, ChatWordsAreNoHostsButUnderTheCommonDomains) {
  const std::set<std::string> words = {
      "about", "after",  "again",   "ah",       "all",       "alright", "also",   "already", "always", "am",
      "and",   "anyway", "are",     "at",       "away",      "back",    "bad",    "bah",     "be",     "because",
      "bed",   "before", "better",  "both",     "bro",       "bus",     "busy",   "but",     "bye",    "call",
      "can",   "car",    "class",   "come",     "coming",    "cool",    "cos",    "cuz",     "dad",    "day",
      "days",  "dear",   "dinner",  "do",       "does",      "done",    "down",   "dude",    "early",  "eat",
      "else",  "even",   "ever",    "fine",     "first",     "for",     "free",   "friend",  "from",   "fun",
      "get",   "girl",   "give",    "go",       "going",     "gone",    "good",   "got",     "great",  "guys",
      "haha",  "hahaha", "happy",   "have",     "he",        "hehe",    "hello",  "her",     "here",   "hey",
      "hi",    "him",    "hmm",     "home",     "hour",      "hours",   "house",  "how",     "is",     "it",
      "job",   "just",   "know",    "la",       "lah",       "last",    "late",   "later",   "leave",  "like",
      "lmao",  "lol",    "lor",     "love",     "luck",      "lunch",   "man",    "mate",    "maybe",  "me",
      "mine",  "minute", "minutes", "mom",      "money",     "month",   "more",   "morning", "much",   "mum",
      "my",    "nah",    "nice",    "night",    "no",        "nope",    "not",    "nothing", "now",    "of",
      "off",   "oh",     "ok",      "okay",     "okie",      "on",      "one",    "only",    "or",     "out",
      "over",  "people", "phone",   "please",   "pls",       "problem", "really", "right",   "room",   "sad",
      "said",  "school", "see",     "she",      "sick",      "sleep",   "so",     "some",    "soon",   "sorry",
      "stay",  "still",  "sure",    "take",     "talk",      "tea",     "thanks", "that",    "the",    "their",
      "them",  "then",   "there",   "they",     "thing",     "things",  "think",  "this",    "thx",    "time",
      "tired", "to",     "today",   "together", "tomorrow",  "tonight", "too",    "town",    "true",   "try",
      "up",    "ur",     "us",      "wait",     "was",       "way",     "we",     "week",    "well",   "what",
      "when",  "where",  "why",     "will",     "with",      "work",    "ya",     "yay",     "yea",    "yeah",
      "year",  "years",  "yep",     "yes",      "yesterday", "yet",     "you",    "your"};
  EXPECT_EQ(words.size(), LinkWords::kChatWords.size());
  for (const std::string& word : words) {
    EXPECT_FALSE(holdsLink("x " + word + ".de now")) << word;
    EXPECT_TRUE(holdsLink("x " + word + ".com now")) << word;
    EXPECT_TRUE(holdsLink("x " + word + "q.de now")) << word;
  }
}

TEST(LinkWords, NamesOfOneLetterOrNumbersAndCapitalEndingsAreNoHosts) {
  for (const char* text : {"i.de", "u.ca", "5.de", "2024.fr", "Oakland.CA", "went home.De", "ten.Uk"})
    EXPECT_FALSE(holdsLink(text)) << text;
  for (const char* text :
       {"x.com", "163.com", "OAKLAND.CA", "Oakland.ca", "EXAMPLE.DE", "Example.COM", "4chan.org", "Example.Net"})
    EXPECT_TRUE(holdsLink(text)) << text;
}

// A full stop without a space behind it, as thousands of messages have it.
TEST(LinkWords, ChatTypingIsNoLink) {
  for (const char* text : {"good night.tc",
                           "ask andrew.cl",
                           "thanks brothr.bt no",
                           "coming now.onion soup",
                           "Senthil.HSBC called",
                           "ok.lk that",
                           "see you at 5.it was nice",
                           "im home.wat r u doing",
                           "haha.no la",
                           "reach liao.u where",
                           "ok.then i go",
                           "dinner at 7.so come early",
                           "ya.me too",
                           "done.is it ok?",
                           "sure.my place or yours",
                           "miss u.tc dear",
                           "sleep now.gn",
                           "nvm.tt is ok",
                           "wait.am coming",
                           "cant make it.sry",
                           "lol.so funny",
                           "k.cu later",
                           "yes.at home",
                           "no.in class now",
                           "tmr.pm me",
                           "ok.tk u",
                           "great.id love to",
                           "what.to do",
                           "meeting.la",
                           "busy.cn call u later",
                           "with him.nt me",
                           "jus woke up.gd morning",
                           "hungry.eat wat",
                           "lets go.at the mall",
                           "fine.be there",
                           "haha.ic",
                           "lecture ended.im free",
                           "yup.to orchard",
                           "bye.gtg",
                           "go la.dun wait",
                           "the bus.an hour late",
                           "thx.mr tan",
                           "later.ps bring it",
                           "i c.np",
                           "boss.ms lee is here",
                           "sian.re exam",
                           "hi.st james tonight?",
                           "okay.de",
                           "really.au revoir",
                           "home.nl",
                           "love you.ca va?",
                           "tomorrow.uk time",
                           "done.pl call",
                           "today.fr sure",
                           "no problem.br",
                           "time.ch 5 is hard",
                           "nice.se u",
                           "why.ru sad",
                           "sorry.es tut mir leid",
                           "haha.dk leh",
                           "late.cz of rain",
                           "right.hu is it",
                           "all.ro",
                           "room.gr8",
                           "again.info pls",
                           "work.biz trip",
                           "job.mil is coming",
                           "2.30pm.in town",
                           "3.uk",
                           "at 10.ca u?",
                           "a.de",
                           "u.dk",
                           "$5.au",
                           "San Jose.CA",
                           "Mr.Tan",
                           "wk 3.tues",
                           "No.5",
                           "p.s.i love you",
                           "etc.etc",
                           "hmm...ok.la",
                           "xoxo.me",
                           "bath.brb",
                           "mum.dad",
                           "one.two.three",
                           "yes.yes.yes",
                           "wow.just.wow",
                           "hurry.up.now",
                           "omg.no.way",
                           "like.seriously",
                           "i.am.so.tired",
                           "ten.thirty",
                           "report.docx",
                           "IMG_2034.jpg",
                           "v2.0.1",
                           "3.5mm jack",
                           "U.S.A",
                           "St.Louis",
                           "Jan.15",
                           "e.g.this",
                           "9.am",
                           "6.pm.at",
                           "sun.sat.fri"})
    EXPECT_FALSE(holdsLink(text)) << text;
}

// Addresses as people type them into messages.
TEST(LinkWords, AddressesInChatAreLinks) {
  for (const char* text : {"have a look at example.com",
                           "its on Example.com!",
                           "go to example.org/donate pls",
                           "amazon-shop.de maybe?",
                           "try the-guardian.co.uk.",
                           "bbc.example.co.uk",
                           "(tickets at concerts.nl)",
                           "maps.example.ca",
                           "lookup.fr",
                           "sale on allegro-shop.pl today",
                           "check nus.edu.sg",
                           "mail.example.com.sg",
                           "rail.example.com.au",
                           "apply at jobs.gov.sg",
                           "irs.gov has the form",
                           "mit.edu",
                           "who.int says",
                           "army.mil",
                           "weather.info",
                           "cheap-stuff.biz",
                           "github.io",
                           "me.github.io",
                           "europa.eu",
                           "sbb.ch",
                           "seznam.cz",
                           "politiken.dk",
                           "elpais.es",
                           "yle.fi",
                           "in.gr",
                           "index.hu",
                           "nintendo.jp",
                           "daum.kr",
                           "unam.mx",
                           "stuff.nz",
                           "publico.pt",
                           "emag.ro",
                           "yandex.ru",
                           "svt.se",
                           "sme.sk",
                           "rozetka.ua",
                           "ebay.co.uk",
                           "uol.com.br",
                           "globo.br",
                           "abc.net.au",
                           "example.au",
                           "irctc.co.in",
                           "x.com/someone",
                           "youtu.be/abc",
                           "t.me/group",
                           "bit.ly/3abc",
                           "goo.gl/maps/x",
                           "wa.me/123",
                           "fb.me/e/1",
                           "www.lah.so",
                           "www.tc.lk",
                           "night.tc/menu",
                           "zoom.us/j/99",
                           "www.bar.it",
                           "127.0.0.1:8080",
                           "nas.local/x",
                           "anna@example.com",
                           "joe@mail.in",
                           "http://night.tc",
                           "https://ok.lk",
                           "see:example.com",
                           "example.com,ok?",
                           "\"example.com\"",
                           "EXAMPLE.COM",
                           "Example.Com",
                           "m\u00FCnchen.de",
                           "\u043F\u0440\u0438\u043C\u0435\u0440.\u0440\u0444"})
    EXPECT_EQ(holdsLink(text), std::string_view(text) != "nas.local/x") << text;
}

}  // namespace
}  // namespace pellora
