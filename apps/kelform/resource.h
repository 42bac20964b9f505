// Numbers of the program's commands, controls and resources.
#pragma once

#define IDR_MENU 100
#define IDR_KEYS 101

// Commands: menu, accelerators and buttons alike.
#define ID_NEW 200
#define ID_SAVE 201
#define ID_DELETE 202
#define ID_RELEASE 203
#define ID_UNDO 204
#define ID_FIRST 210
#define ID_PREVIOUS 211
#define ID_NEXT 212
#define ID_LAST 213
#define ID_FIND 214
#define ID_GO_FIND 215
#define ID_GO_KEY 216
#define ID_ROW_INSERT 220
#define ID_ROW_EDIT 221
#define ID_ROW_REMOVE 222
#define ID_FOLLOWER 230
#define ID_EVENTS 231
#define ID_CONNECTION 232
#define ID_QUIT 240

// Controls of the country window.
#define IDC_KEY 300
#define IDC_FIND_TEXT 301
#define IDC_NAME 302
#define IDC_OFFICIAL 303
#define IDC_ALPHA3 304
#define IDC_NUMBER 305
#define IDC_CONTINENT 306
#define IDC_CURRENCY 307
#define IDC_CURRENCY_NAME 308
#define IDC_AREA 309
#define IDC_POPULATION 310
#define IDC_CHECKED 311
#define IDC_MEMBER 312
#define IDC_ROWS 313
#define IDC_STATUS 314
#define IDC_LOCK 315

// Controls of the other windows.
#define IDC_EVENT_LIST 400
#define IDC_MESSAGE 401
#define IDC_PROPERTY 410  // the first of the back-end's properties; the others follow
