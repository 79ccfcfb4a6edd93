// Top-level domains that a bare host name must not end in, because chat typing makes them by accident: a missing
// space after a full stop ("see you at 5.it was nice"), and names of files. With a path or "www." they are links
// again. Both tables are in lower case and in order.
#pragma once

#include <string_view>

namespace pellora::LinkWords {

// Common English words (and what chat writes for them) that are top-level domains too.
inline constexpr std::string_view kWords[] = {
    // clang-format off
    "able", "ac", "academy", "actor", "ads", "adult", "af", "ally", "am", "apartments", "apple", "army", "art", "as",
    "at", "auction", "audio", "author", "auto", "baby", "band", "bank", "bar", "bargains", "baseball", "basketball",
    "bb", "be", "beats", "beauty", "beer", "best", "bet", "bf", "bible", "bid", "bike", "bingo", "black", "blue",
    "boats", "bond", "boo", "book", "bot", "boutique", "box", "broadway", "broker", "brother", "build", "builders",
    "business", "buy", "by", "cab", "cafe", "call", "cam", "camera", "camp", "car", "cards", "care", "career",
    "careers", "cars", "case", "cash", "cat", "catering", "center", "channel", "charity", "chase", "chat", "cheap",
    "christmas", "church", "circle", "city", "claims", "cleaning", "click", "clothing", "coach", "coffee", "college",
    "community", "company", "compare", "computer", "condos", "contact", "cooking", "cool", "country", "coupon",
    "coupons", "credit", "cricket", "crown", "cruise", "cruises", "cu", "dad", "dance", "data", "date", "dating",
    "day", "deal", "deals", "degree", "delivery", "dental", "dentist", "diamonds", "diet", "direct", "directory",
    "discount", "discover", "dish", "do", "doctor", "dog", "dot", "download", "drive", "earth", "eat", "education",
    "email", "energy", "engineer", "estate", "events", "exchange", "expert", "express", "fail", "faith", "family",
    "fan", "fans", "farm", "farmers", "fashion", "fast", "feedback", "film", "final", "finance", "financial", "fish",
    "fishing", "fit", "fitness", "flights", "flowers", "fly", "food", "football", "forum", "foundation", "free",
    "fun", "fund", "furniture", "fyi", "gal", "gallery", "game", "games", "gap", "garden", "gay", "gf", "gift",
    "gifts", "gives", "giving", "glass", "global", "gm", "gn", "gold", "golf", "got", "grocery", "group", "guide",
    "guru", "hair", "health", "help", "here", "hm", "hockey", "holiday", "homes", "horse", "hospital", "hot", "house",
    "how", "hr", "ice", "id", "il", "im", "in", "inc", "ing", "insurance", "international", "investments", "is",
    "ist", "it", "je", "jewelry", "jobs", "joy", "kids", "kitchen", "la", "land", "law", "lawyer", "lease", "legal",
    "life", "lifestyle", "like", "limited", "limo", "live", "living", "loan", "loans", "locker", "lol", "love",
    "luxury", "ma", "makeup", "man", "map", "market", "md", "me", "meet", "meme", "memorial", "men", "menu", "mini",
    "mint", "mm", "mo", "mobile", "moe", "mom", "money", "monster", "mortgage", "motorcycles", "movie", "mr", "ms",
    "museum", "music", "my", "na", "name", "navy", "ne", "new", "next", "no", "now", "np", "nu", "observer", "one",
    "open", "orange", "organic", "pa", "partners", "parts", "party", "pay", "pet", "pharmacy", "phone", "photo",
    "photos", "physio", "pics", "pictures", "pid", "pin", "pink", "pizza", "place", "play", "plumbing", "plus", "pm",
    "poker", "post", "press", "prime", "pro", "productions", "prof", "promo", "properties", "property", "protection",
    "pub", "quest", "racing", "radio", "re", "read", "realty", "recipes", "red", "rehab", "rent", "rentals", "repair",
    "report", "rest", "restaurant", "review", "reviews", "rich", "rip", "rocks", "room", "run", "safe", "safety",
    "sale", "salon", "save", "school", "science", "search", "seat", "secure", "security", "select", "services",
    "seven", "sex", "sexy", "sharp", "shell", "shoes", "shopping", "show", "singles", "ski", "skin", "sky", "smart",
    "smile", "so", "soccer", "social", "solar", "song", "spa", "space", "sport", "spot", "st", "style", "sucks",
    "supplies", "supply", "support", "surf", "surgery", "talk", "target", "tattoo", "tax", "taxi", "team", "tennis",
    "theater", "theatre", "tickets", "tips", "tires", "to", "today", "tools", "top", "total", "tours", "town", "toys",
    "trade", "trading", "training", "travel", "trust", "tunes", "tv", "university", "ups", "us", "vacations", "vet",
    "video", "villas", "vip", "vision", "vodka", "vote", "voting", "voyage", "watch", "watches", "weather", "wedding",
    "win", "wine", "winners", "work", "works", "world", "wow", "wtf", "ye", "yoga", "you", "zero",
    // clang-format on
};

// Endings of file names that are top-level domains too.
inline constexpr std::string_view kFileEndings[] = {"bz", "cab", "md", "mov", "ps", "py", "rs", "sh", "so", "zip"};

}  // namespace pellora::LinkWords
