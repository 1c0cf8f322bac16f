#include "fb2/GenreCodes.h"

#include <algorithm>
#include <array>

namespace pw::fb2 {

namespace {

// Kept in the order of the schema's enumeration; a test checks that the two agree.
constexpr std::array<std::string_view, 186> kGenreCodes = {
    "accounting", "adv_animal", "adv_geo", "adv_history", "adv_maritime", "adv_western", "adventure",
    "antique", "antique_ant", "antique_east", "antique_european", "antique_myths", "antique_russian",
    "aphorism_quote", "architecture_book", "auto_regulations", "banking", "beginning_authors", "child_adv",
    "child_det", "child_education", "child_prose", "child_sf", "child_tale", "child_verse", "children",
    "cinema_theatre", "city_fantasy", "comp_db", "comp_hard", "comp_osnet", "comp_programming", "comp_soft",
    "comp_www", "computers", "design", "det_action", "det_classic", "det_crime", "det_espionage", "det_hard",
    "det_history", "det_irony", "det_police", "det_political", "detective", "dragon_fantasy", "dramaturgy",
    "economics", "essays", "fantasy_fight", "foreign_action", "foreign_adventure", "foreign_antique",
    "foreign_business", "foreign_children", "foreign_comp", "foreign_contemporary",
    "foreign_contemporary_lit", "foreign_desc", "foreign_detective", "foreign_dramaturgy", "foreign_edu",
    "foreign_fantasy", "foreign_home", "foreign_humor", "foreign_language", "foreign_love", "foreign_novel",
    "foreign_other", "foreign_poetry", "foreign_prose", "foreign_psychology", "foreign_publicism",
    "foreign_religion", "foreign_sf", "geo_guides", "geography_book", "global_economy", "historical_fantasy",
    "home", "home_cooking", "home_crafts", "home_diy", "home_entertain", "home_garden", "home_health",
    "home_pets", "home_sex", "home_sport", "humor", "humor_anecdote", "humor_fantasy", "humor_prose",
    "humor_verse", "industries", "job_hunting", "literature_18", "literature_19", "literature_20",
    "love_contemporary", "love_detective", "love_erotica", "love_fantasy", "love_history", "love_sf",
    "love_short", "magician_book", "management", "marketing", "military_special", "music_dancing",
    "narrative", "newspapers", "nonf_biography", "nonf_criticism", "nonf_publicism", "nonfiction",
    "org_behavior", "paper_work", "pedagogy_book", "periodic", "personal_finance", "poetry", "popadanec",
    "popular_business", "prose_classic", "prose_counter", "prose_history", "prose_military",
    "prose_rus_classic", "prose_su_classics", "psy_alassic", "psy_childs", "psy_generic", "psy_personal",
    "psy_sex_and_family", "psy_social", "psy_theraphy", "real_estate", "ref_dict", "ref_encyc", "ref_guide",
    "ref_ref", "reference", "religion", "religion_esoterics", "religion_rel", "religion_self",
    "russian_contemporary", "russian_fantasy", "sci_biology", "sci_chem", "sci_culture", "sci_history",
    "sci_juris", "sci_linguistic", "sci_math", "sci_medicine", "sci_philosophy", "sci_phys", "sci_politics",
    "sci_religion", "sci_tech", "science", "sf", "sf_action", "sf_cyberpunk", "sf_detective", "sf_fantasy",
    "sf_heroic", "sf_history", "sf_horror", "sf_humor", "sf_social", "sf_space", "short_story", "sketch",
    "small_business", "sociology_book", "stock", "thriller", "upbringing_book", "vampire_book", "visual_arts",
    "unrecognised",
};

}  // namespace

std::span<const std::string_view> GenreCodes() { return kGenreCodes; }

bool IsGenreCode(std::string_view code) {
  return std::find(kGenreCodes.begin(), kGenreCodes.end(), code) != kGenreCodes.end();
}

}  // namespace pw::fb2
