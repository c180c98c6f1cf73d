// What blanking comments means, as an automaton that reads one character at a time and never looks ahead.
#pragma once

#include <string>

namespace QuorvaneTest
{

class CCommentModel
{
public:
    static std::string Blanked(const std::string &text)
    {
        CCommentModel model(text);
        for (model.m_At = 0; model.m_At < text.size(); ++model.m_At)
            model._Read(text[model.m_At]);
        return model.m_Result;
    }

private:
    enum EState
    {
        State_Text,
        State_Slash, // behind a slash of plain text
        State_Line,
        State_LineBackslash,
        State_LineBackslashReturn, // behind a backslash and a carriage return, of which a newline may still be part
        State_Block,
        State_BlockStar,
        State_Literal,
        State_LiteralBackslash,
        State_LiteralBackslashReturn,
    };

    explicit CCommentModel(const std::string &text) : m_Result(text) {}

    void _Blank(size_t index)
    {
        if (m_Result[index] != '\n' && m_Result[index] != '\r')
            m_Result[index] = ' ';
    }

    void _Begin(EState comment)
    {
        _Blank(m_At - 1);
        _Blank(m_At);
        m_State = comment;
    }

    void _Read(char c)
    {
        switch (m_State)
        {
        case State_Text:
            return _ReadText(c);
        case State_Slash:
            return c == '/' ? _Begin(State_Line) : c == '*' ? _Begin(State_Block) : _ReadText(c);
        case State_Line:
        case State_LineBackslash:
        case State_LineBackslashReturn:
            return _ReadLine(c);
        case State_Block:
        case State_BlockStar:
            return _ReadBlock(c);
        case State_Literal:
        case State_LiteralBackslash:
        case State_LiteralBackslashReturn:
            return _ReadLiteral(c);
        }
    }

    void _ReadText(char c)
    {
        m_State = c == '/' ? State_Slash : c == '"' || c == '\'' ? State_Literal : State_Text;
        m_Quote = c;
    }

    void _ReadLine(char c)
    {
        const bool isLineEnd = c == '\n' || c == '\r';
        const bool belongsToLineEnd = c == '\n' && m_State == State_LineBackslashReturn;
        const bool takenBack = m_State == State_LineBackslash || belongsToLineEnd;
        if (isLineEnd && !takenBack)
            m_State = State_Text;
        else if (c == '\r')
            m_State = State_LineBackslashReturn;
        else
            m_State = c == '\\' ? State_LineBackslash : State_Line;
        _Blank(m_At);
    }

    void _ReadBlock(char c)
    {
        const bool closes = m_State == State_BlockStar && c == '/';
        m_State = closes ? State_Text : c == '*' ? State_BlockStar : State_Block;
        _Blank(m_At);
    }

    void _ReadLiteral(char c)
    {
        const bool belongsToLineEnd = c == '\n' && m_State == State_LiteralBackslashReturn;
        if (m_State == State_LiteralBackslash)
            m_State = c == '\r' ? State_LiteralBackslashReturn : State_Literal;
        else if (c == m_Quote || ((c == '\n' || c == '\r') && !belongsToLineEnd))
            m_State = State_Text;
        else
            m_State = c == '\\' ? State_LiteralBackslash : State_Literal;
    }

    std::string m_Result;
    size_t m_At = 0;
    EState m_State = State_Text;
    char m_Quote = 0;
};

} // namespace QuorvaneTest
