#include <array>
#include <map>

#include "host/sheet/states/states.h"
#include "platform/foundation/locale/locale.h"
#include "store/shared_store.h"

namespace host {

using namespace glancery;
using namespace platform;
using enum ProvideRequest::What;

namespace {

constexpr std::string_view kNow = "09:30";

/// Two words, a sentence of the usual length, and one that is too long for some screens.
enum Length { brief, usual, endless };

const std::map<std::string, std::array<std::string_view, 3>, std::less<>> kSentences = {
    {"es",
     {"Hoy respiro.",
      "Mi calma vale más que mi prisa, y hoy la cuido.",
      "Reconozco todo lo que he avanzado, aunque nadie lo haya visto; confío en mi ritmo, "
      "agradezco lo que tengo y dejo que el resto llegue cuando le toque, sin compararme con "
      "nadie más que con quien fui ayer."}},
    {"en",
     {"I breathe.",
      "My calm is worth more than my hurry, and today I keep it.",
      "I see how far I have come, even where nobody was watching; I trust my own pace, I am "
      "grateful for what I have, and I let the rest arrive in its time, measuring myself only "
      "against who I was yesterday."}},
    {"pt",
     {"Hoje respiro.",
      "Minha calma vale mais que a pressa, e hoje cuido dela.",
      "Reconheço tudo o que avancei, mesmo quando ninguém viu; confio no meu ritmo, agradeço o "
      "que tenho e deixo que o resto chegue na sua hora, sem me comparar com ninguém além de "
      "quem fui ontem."}},
    {"fr",
     {"Je respire.",
      "Mon calme vaut plus que ma hâte, et j’en prends soin.",
      "Je reconnais tout le chemin parcouru, même quand personne ne regardait ; je fais "
      "confiance à mon rythme, je remercie pour ce que j’ai et je laisse le reste venir à son "
      "heure, sans me comparer à qui que ce soit d’autre qu’à la personne d’hier."}},
};

/// A signed-in user for whom today's affirmation was already fetched, so that no download starts.
Suite fetched(Dictionary more = {}) {
  more.set(kAffirmationLastFetchKey, at("06:00"));
  return signedIn(std::move(more));
}

Suite holding(std::string_view text, std::string_view color) {
  return fetched({{kAffirmationDataKey, record({{"text", text}, {"color", color}})}});
}

/// A sentence in the language of the device.
SheetState sentence(const std::string& name,
                    std::string_view color,
                    Length length,
                    std::vector<DeviceMatrix> devices) {
  const auto suite = [color, length] {
    const std::string language = Locale::current().languageCode().value_or("es");
    return holding(kSentences.find(language)->second[length], color)();
  };
  return {name + (length == brief   ? ".brief"
                  : length == usual ? ".usual"
                                    : ".endless"),
          at(kNow),
          suite,
          std::move(devices)};
}

/// Colours are case-sensitive, and the empty one is unknown too.
constexpr std::pair<const char*, std::string_view> kOtherColors[] = {
    {"gold", "gold"}, {"sky", "sky"}, {"unknown-colour", "Blush"}, {"no-colour", ""}};

/// Unusual texts that a server may send.
constexpr std::pair<const char*, std::string_view> kUnusualTexts[] = {
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
  constexpr DeviceMatrix kTexts = {
      .locales = kTranslations, .screens = kScreens, .systems = kSystems};
  /// The view ignores the scheme, but an image of the catalogue may have a dark variant.
  constexpr DeviceMatrix kArtwork = {.schemes = kSchemes, .systems = kSystems};
  constexpr DeviceMatrix kSizes = {.screens = kScreens, .systems = kSystems};
  constexpr DeviceMatrix kLanguages = {.locales = kTranslations};
  constexpr DeviceMatrix kExtremes = {.screens = kExtremeScreens, .systems = kSystems};
  constexpr DeviceMatrix kSample = {.locales = kTranslations, .systems = kSystems};
  const Date now = at(kNow);
  // The widget replaces the provider's default sentence by a translation.
  const Suite providerSentence =
      holding("Yo sé que cualquiera sería afortunado de tener mi amistad.", "sky");
  const Suite unreadable =
      fetched({{kAffirmationDataKey, record({{"text", "Hola"}, {"color", 3}})}});

  std::vector<SheetState> states = {
      {.name = "signed-out", .now = now, .devices = {kTexts, kArtwork}},
      {"nothing-stored", now, fetched(), {kLanguages}},
      {"provider-sentence", now, providerSentence, {kLanguages}},
      {"unreadable-record", now, unreadable},
      sentence("blush", "blush", brief, {kTexts, kArtwork}),
      sentence("blush", "blush", usual, {kTexts}),
      sentence("blush", "blush", endless, {kTexts}),
  };
  for (const auto& [name, color] : kOtherColors) {
    states.push_back(sentence(name, color, brief, {kArtwork}));
    states.push_back(sentence(name, color, usual, {kSizes}));
  }
  for (const auto& [name, text] : kUnusualTexts) {
    states.push_back({std::string("odd.") + name, now, holding(text, "sky"), {kExtremes}});
  }
  states.push_back({.name = "placeholder", .now = now, .devices = {kSample}, .what = placeholder});
  states.push_back({.name = "snapshot", .now = now, .devices = {kSample}, .what = snapshot});
  return states;
}

}  // namespace host
