#include <array>

#include "host/api/affirmation_api.h"
#include "platform/support/fingerprint.h"

namespace host {

namespace {

constexpr std::size_t kCount = 14;

struct Sentences {
  const char* language;
  std::array<const char*, kCount> texts;
};

// Translations of the same sentences, in the same order and without grammatical gender.
constexpr Sentences kSentences[] = {
    {"es",
     {"Hoy me trato con la misma ternura que ofrezco a quienes quiero.",
      "Respiro hondo y dejo que la calma encuentre su lugar en mí.",
      "Cada paso pequeño que doy también cuenta como avance.",
      "Merezco descansar sin tener que ganármelo antes.",
      "Puedo empezar de nuevo las veces que haga falta.",
      "Mis emociones son visitas: las recibo, las escucho y las dejo ir.",
      "Confío en mi manera de hacer las cosas, aunque sea lenta.",
      "Lo que siento tiene sentido y merece un espacio amable.",
      "Hay personas que sonríen al pensar en mí.",
      "Hoy elijo mirar todo lo que ya he conseguido.",
      "Decir que no también es una forma de cuidarme.",
      "Mi voz importa y tiene un lugar en esta conversación.",
      "No necesito tener todas las respuestas para seguir adelante.",
      "Guardo en mí la fuerza de todos los días difíciles que ya pasaron."}},
    {"en",
     {"Today I treat myself with the tenderness I give to those I love.",
      "I breathe deeply and let calm find its place in me.",
      "Every small step I take is progress too.",
      "I deserve to rest without having to earn it first.",
      "I can begin again as many times as I need to.",
      "My feelings are visitors: I welcome them, listen, and let them go.",
      "I trust my own way of doing things, even when it is slow.",
      "What I feel makes sense and deserves a gentle space.",
      "There are people who smile when they think of me.",
      "Today I choose to look at how far I have come.",
      "Saying no is also a way of taking care of myself.",
      "My voice matters, and there is room for it here.",
      "I don’t need to have every answer to keep going.",
      "I carry the strength of every hard day that is already behind me."}},
    {"pt",
     {"Hoje me trato com o mesmo carinho que ofereço a quem amo.",
      "Respiro fundo e deixo a calma encontrar um lugar em mim.",
      "Cada pequeno passo que dou também é um avanço.",
      "Mereço descansar sem precisar conquistar isso antes.",
      "Posso recomeçar quantas vezes forem necessárias.",
      "Minhas emoções são visitas: eu as recebo, escuto e deixo ir.",
      "Confio no meu jeito de fazer as coisas, mesmo que seja devagar.",
      "O que sinto faz sentido e merece um espaço gentil.",
      "Há pessoas que sorriem quando pensam em mim.",
      "Hoje escolho olhar para tudo o que já alcancei.",
      "Dizer não também é uma forma de cuidar de mim.",
      "Minha voz importa e tem um lugar nesta conversa.",
      "Não preciso ter todas as respostas para seguir em frente.",
      "Guardo em mim a força de todos os dias difíceis que já passaram."}},
    {"fr",
     {"Aujourd’hui, je me traite avec la tendresse que j’offre aux personnes que j’aime.",
      "Je respire profondément et je laisse le calme trouver sa place en moi.",
      "Chaque petit pas que je fais est aussi une avancée.",
      "Je mérite de me reposer sans avoir à le gagner d’abord.",
      "Je peux recommencer autant de fois qu’il le faut.",
      "Mes émotions sont des visiteuses : je les accueille, je les écoute, puis je les laisse "
      "partir.",
      "J’ai confiance en ma façon de faire, même quand elle est lente.",
      "Ce que je ressens a du sens et mérite un espace de douceur.",
      "Il y a des personnes qui sourient en pensant à moi.",
      "Aujourd’hui, je choisis de regarder le chemin déjà parcouru.",
      "Dire non est aussi une manière de prendre soin de moi.",
      "Ma voix compte, et elle a sa place dans cette conversation.",
      "Je n’ai pas besoin d’avoir toutes les réponses pour avancer.",
      "Je porte en moi la force de tous les jours difficiles déjà passés."}},
};

constexpr std::array kColors = {"blush", "gold", "sky"};

std::uint64_t hashOf(std::string_view text) {
  const std::uint64_t hash = platform::checksum(text);
  return hash ^ (hash >> 32);
}

const Sentences& sentencesIn(std::string_view language) {
  const std::string_view code = language.substr(0, language.find_first_of("-_"));
  for (const Sentences& sentences : kSentences) {
    if (code == sentences.language) {
      return sentences;
    }
  }
  return kSentences[0];
}

}  // namespace

Affirmation affirmationOf(std::string_view uid, std::int64_t day, std::string_view language) {
  // Each user starts at another place and advances by one a day.
  const std::uint64_t start = hashOf(uid) % (kCount * kColors.size());
  const std::uint64_t turn = start + static_cast<std::uint64_t>(day);
  return {sentencesIn(language).texts[turn % kCount], kColors[turn % kColors.size()]};
}

}  // namespace host
