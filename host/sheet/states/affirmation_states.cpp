#include <map>
#include <string>
#include <utility>

#include "host/sheet/phones.h"
#include "host/sheet/states/states.h"
#include "platform/foundation/locale/locale.h"
#include "store/shared_store.h"

namespace host {

using namespace glancery;
using namespace platform;
using enum ProvideRequest::What;

namespace {

constexpr std::string_view kNow = "09:30";

/// Sentences of two words, of the usual length and of more lines than some phones have room for.
struct Sentences {
  std::string_view brief;
  std::string_view usual;
  std::string_view endless;
};

const std::map<std::string, Sentences, std::less<>> kSentences = {
    {"es",
     {"Hoy respiro.",
      "Mi calma vale más que mi prisa, y hoy la cuido.",
      "Reconozco todo lo que he avanzado, aunque nadie lo haya visto; confío en mi ritmo, "
      "agradezco "
      "lo que tengo y dejo que el resto llegue cuando le toque, sin compararme con nadie más que "
      "con quien fui ayer."}},
    {"en",
     {"I breathe.",
      "My calm is worth more than my hurry, and today I keep it.",
      "I see how far I have come, even where nobody was watching; I trust my own pace, I am "
      "grateful for what I have, and I let the rest arrive in its time, measuring myself only "
      "against who I was yesterday."}},
    {"pt",
     {"Hoje respiro.",
      "Minha calma vale mais que a pressa, e hoje cuido dela.",
      "Reconheço tudo o que avancei, mesmo quando ninguém viu; confio no meu ritmo, agradeço o que "
      "tenho e deixo que o resto chegue na sua hora, sem me comparar com ninguém além de quem fui "
      "ontem."}},
    {"fr",
     {"Je respire.",
      "Mon calme vaut plus que ma hâte, et j’en prends soin.",
      "Je reconnais tout le chemin parcouru, même quand personne ne regardait ; je fais confiance "
      "à "
      "mon rythme, je remercie pour ce que j’ai et je laisse le reste venir à son heure, sans me "
      "comparer à qui que ce soit d’autre qu’à la personne d’hier."}},
};

/// In the language that the server would have been asked for.
const Sentences& sentences() {
  return kSentences.find(Locale::current().languageCode().value_or("es"))->second;
}

/// A signed-in user whose fetch of today is over: nothing more is downloaded.
Dictionary signedIn() {
  return {{kSharedUidKey, "u-1"}, {kAffirmationLastFetchKey, at("06:00")}};
}

Dictionary holding(std::string_view text, std::string_view color) {
  Dictionary suite = signedIn();
  suite.set(kAffirmationDataKey, record({{"text", text}, {"color", color}}));
  return suite;
}

SheetState sentence(const std::string& name,
                    std::string_view color,
                    std::string_view Sentences::*text,
                    std::vector<Phones> phones) {
  return {.name = name,
          .now = at(kNow),
          .suite = [color, text] { return holding(sentences().*text, color); },
          .phones = std::move(phones)};
}

/// Names of colours that tell upper case from lower, and one that is empty.
constexpr std::pair<std::string_view, std::string_view> kOtherColors[] = {
    {"gold", "gold"}, {"sky", "sky"}, {"unknown-colour", "Blush"}, {"no-colour", ""}};

/// What a server might send besides words.
struct Oddity {
  std::string_view name;
  std::string_view text;
};

constexpr Oddity kOddities[] = {
    {"emoji", "Hoy sonrío 😊 y sigo ✨ adelante 💪🏽"},
    {"arabic", "أتنفّس بهدوء وأثق بخطواتي اليوم."},
    {"chinese", "今天我慢慢呼吸，相信自己的脚步。"},
    {"one-word", "Desproporcionadísimamenteagradecidísimaconmigomisma"},
    {"line-breaks", "Respiro.\n\nConfío.\nSigo."},
    {"marks", "«¿Y si hoy…?» — «¡Sí!» & <b>100 %</b> “ok” %lld"},
    {"like-a-key", "STREAK_TEXT_08_10"},
    {"spaces", "   "},
};

}  // namespace

std::vector<SheetState> affirmationStates() {
  constexpr Phones kEveryText = {kTranslations, kEveryScreen, kUsual.schemes, kEverySystem};
  /// The view knows no schemes, but a picture of the catalogue may have one for the dark.
  constexpr Phones kArtwork = {kUsual.locales, kUsual.screens, kEveryScheme, kEverySystem};
  constexpr Phones kEverySize = {kUsual.locales, kEveryScreen, kUsual.schemes, kEverySystem};
  constexpr Phones kEveryLanguage = {kTranslations, kUsual.screens, kUsual.schemes, kUsual.systems};
  constexpr Phones kFar = {kUsual.locales, kFarScreens, kUsual.schemes, kEverySystem};
  const Date now = at(kNow);

  std::vector<SheetState> states = {
      {.name = "signed-out", .now = now, .phones = {kEveryText, kArtwork}},
      {.name = "nothing-stored", .now = now, .suite = signedIn, .phones = {kEveryLanguage}},
      // The provider's own sentence is never shown as it stands.
      {.name = "provider-sentence",
       .now = now,
       .suite =
           [] {
             return holding("Yo sé que cualquiera sería afortunado de tener mi amistad.", "sky");
           },
       .phones = {kEveryLanguage}},
      {.name = "unreadable-record",
       .now = now,
       .suite =
           [] {
             Dictionary suite = signedIn();
             suite.set(kAffirmationDataKey, record({{"text", "Hola"}, {"color", 3}}));
             return suite;
           },
       .phones = {kUsual}},
      sentence("blush.brief", "blush", &Sentences::brief, {kEveryText, kArtwork}),
      sentence("blush.usual", "blush", &Sentences::usual, {kEveryText}),
      sentence("blush.endless", "blush", &Sentences::endless, {kEveryText}),
  };
  for (const auto& [name, color] : kOtherColors) {
    const std::string prefix(name);
    states.push_back(sentence(prefix + ".brief", color, &Sentences::brief, {kArtwork}));
    states.push_back(sentence(prefix + ".usual", color, &Sentences::usual, {kEverySize}));
  }
  for (const auto& [name, text] : kOddities) {
    states.push_back({.name = "odd." + std::string(name),
                      .now = now,
                      .suite = [text] { return holding(text, "sky"); },
                      .phones = {kFar}});
  }
  const std::vector<Phones> samples = {
      {kTranslations, kUsual.screens, kUsual.schemes, kEverySystem}};
  states.push_back({.name = "placeholder", .now = now, .phones = samples, .what = placeholder});
  states.push_back({.name = "snapshot", .now = now, .phones = samples, .what = snapshot});
  return states;
}

}  // namespace host
