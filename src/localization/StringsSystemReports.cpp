// Texts of what the app reports about the system around it: what macOS or another app does to
// the bar, and the diagnostics a user can send.

#include "localization/StringGroups.h"

namespace tarvolo::StringTable {
namespace {

constexpr Entry kEntries[] = {
    {"notice_menu_bar_not_allowed",
     {.en = "macOS isn’t giving Tarvolo’s icons a place in the menu bar. Turn on “Allow in the Menu Bar” for "
            "Tarvolo in System Settings › Menu Bar.",
      .zh = "macOS 没有在菜单栏中显示 Tarvolo 的图标。请在“系统设置 › 菜单栏”中为 Tarvolo 打开“允许在菜单栏中显示”。",
      .zhHant = "macOS 沒有在選單列中顯示 Tarvolo 的圖示。請在「系統設定 › 選單列」中為 Tarvolo 開啟「允許在選單列中顯示」。",
      .ja = "macOS が Tarvolo のアイコンをメニューバーに表示していません。「システム設定 › メニューバー」で Tarvolo の"
            "「メニューバーに表示を許可」をオンにしてください。",
      .ko = "macOS가 메뉴 막대에 Tarvolo 아이콘을 표시하지 않고 있습니다. 시스템 설정 › 메뉴 막대에서 Tarvolo의 "
            "‘메뉴 막대에 허용’을 켜세요.",
      .de = "macOS zeigt die Symbole von Tarvolo nicht in der Menüleiste. Schalte in den Systemeinstellungen › "
            "Menüleiste „In der Menüleiste erlauben“ für Tarvolo ein.",
      .fr = "macOS n’affiche pas les icônes de Tarvolo dans la barre des menus. Activez « Autoriser dans la barre des "
            "menus » pour Tarvolo dans Réglages Système › Barre des menus.",
      .es = "macOS no muestra los iconos de Tarvolo en la barra de menús. Activa «Permitir en la barra de menús» para "
            "Tarvolo en Ajustes del Sistema › Barra de menús.",
      .pt = "O macOS não está a mostrar os ícones do Tarvolo na barra de menus. Ative “Permitir na barra de menus” "
            "para o Tarvolo em Definições do Sistema › Barra de menus."}},
    {"notice_open_menu_bar_settings",
     {.en = "Open Menu Bar Settings",
      .zh = "打开菜单栏设置",
      .zhHant = "打開選單列設定",
      .ja = "メニューバー設定を開く",
      .ko = "메뉴 막대 설정 열기",
      .de = "Menüleisten-Einstellungen öffnen",
      .fr = "Ouvrir les réglages de la barre des menus",
      .es = "Abrir ajustes de la barra de menús",
      .pt = "Abrir definições da barra de menus"}},
    {"notice_other_hiding_tool",
     {.en = "Another app seems to be hiding menu bar icons too. Two tools moving the same icons fight over the bar "
            "and both misbehave; let only one of them hide icons.",
      .zh = "似乎还有另一个应用也在隐藏菜单栏图标。两个工具同时移动相同的图标会争夺菜单栏，双方都会出错；请只让其中一个隐藏图标。",
      .zhHant = "似乎還有另一個 App 也在隱藏選單列圖示。兩個工具同時移動相同的圖示會爭奪選單列，雙方都會出錯；請只讓其中一個隱藏圖示。",
      .ja = "別のアプリもメニューバーのアイコンを隠しているようです。2つのツールが同じアイコンを動かすとメニューバーを"
            "奪い合い、どちらも正しく動きません。アイコンを隠すのはどちらか一方だけにしてください。",
      .ko = "다른 앱도 메뉴 막대 아이콘을 숨기고 있는 것 같습니다. 두 도구가 같은 아이콘을 옮기면 메뉴 막대를 두고 "
            "다투어 둘 다 오작동합니다. 아이콘 숨기기는 하나에만 맡기세요.",
      .de = "Eine andere App scheint ebenfalls Menüleistensymbole auszublenden. Zwei Werkzeuge, die dieselben "
            "Symbole verschieben, kommen sich in die Quere und funktionieren beide nicht richtig; lass nur eines "
            "davon Symbole ausblenden.",
      .fr = "Une autre app semble aussi masquer des icônes de la barre des menus. Deux outils qui déplacent les mêmes "
            "icônes se disputent la barre et fonctionnent mal tous les deux ; laissez un seul d’entre eux masquer "
            "les icônes.",
      .es = "Parece que otra app también oculta iconos de la barra de menús. Dos herramientas que mueven los mismos "
            "iconos se pelean por la barra y ambas fallan; deja que solo una de ellas oculte iconos.",
      .pt = "Parece que outra app também está a ocultar ícones da barra de menus. Duas ferramentas a mover os mesmos "
            "ícones disputam a barra e ambas funcionam mal; deixe apenas uma delas ocultar ícones."}},
    {"about_copy_diagnostics",
     {.en = "Copy Diagnostics",
      .zh = "拷贝诊断信息",
      .zhHant = "拷貝診斷資訊",
      .ja = "診断情報をコピー",
      .ko = "진단 정보 복사",
      .de = "Diagnosedaten kopieren",
      .fr = "Copier les diagnostics",
      .es = "Copiar diagnóstico",
      .pt = "Copiar diagnóstico"}},
    {"about_diagnostics_copied",
     {.en = "Diagnostics copied. Paste them into your message to support.",
      .zh = "诊断信息已拷贝。请将其粘贴到发给支持团队的消息中。",
      .zhHant = "診斷資訊已拷貝。請將其貼到寄給支援團隊的訊息中。",
      .ja = "診断情報をコピーしました。サポートへのメッセージに貼り付けてください。",
      .ko = "진단 정보를 복사했습니다. 지원팀에 보내는 메시지에 붙여 넣으세요.",
      .de = "Diagnosedaten kopiert. Füge sie in deine Nachricht an den Support ein.",
      .fr = "Diagnostics copiés. Collez-les dans votre message à l’assistance.",
      .es = "Diagnóstico copiado. Pégalo en tu mensaje al soporte.",
      .pt = "Diagnóstico copiado. Cole-o na sua mensagem para o suporte."}},
};

}  // namespace

std::span<const Entry> systemReportEntries() { return kEntries; }

}  // namespace tarvolo::StringTable
